#pragma once

#include <QString>

class GestionDonnee;
namespace platform {
class Progress;
}

// Reading of XYZ point files: one point per line, fields split by the read
// separator, numbered automatically or by their first field.

// Reads the whole file, one line after the other; open and read failures are
// run-time errors for the caller. The caller refreshes the list afterwards.
// The progress is ticked once per line read, good or not: the converter
// counts the lines it left out from these ticks.
void ReadXyzFile(GestionDonnee& state, const QString& fileName);
void ReadXyzFile(GestionDonnee& state, const QString& fileName, platform::Progress& progress);

// Parses one line and appends at most one point; a line that fails in any way
// is dropped silently.
void ReadXyzLine(GestionDonnee& state, const QString& line);
