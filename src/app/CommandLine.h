#pragma once

#include <QString>
#include <QStringList>
#include <cstdio>
#include <optional>

// The program's own options, answered before any window or display is
// needed: "--help" and "--version" print their text to out and give the exit
// status; anything else gives nothing and the program starts. After "--"
// nothing is an option.
std::optional<int> AnswerWithoutWindow(int argc, const char* const* argv, std::FILE* out);

// What the command line asks of the started program: the files added to the
// list as "Ouvrir" adds them, then the files shown one after the other in the
// import window. "--import" makes every later file one to import; "--" ends
// the options, so a file may be named like one. An option the program does
// not know gives the French usage error to print (exit status 2).
struct ProgramFiles {
    QStringList open;
    QStringList import;
    QString error;
};
ProgramFiles ParseProgramArguments(const QStringList& arguments);
