#pragma once

#include <cstdio>
#include <optional>

// The program's own options, answered before any window or display is
// needed: "--help" and "--version" print their text to out and give the exit
// status; anything else gives nothing and the program starts.
std::optional<int> AnswerWithoutWindow(int argc, const char* const* argv, std::FILE* out);
