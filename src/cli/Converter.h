#pragma once

#include <QStringList>
#include <cstdio>

namespace platform {
class SettingsStore;
}

// tovalin-cli: lists or converts point files with the program's own readers
// and writers and the user's settings (never written). Returns the exit
// status: 0 done, 1 error (message on standard error), 2 usage error.
int RunConverter(const QStringList& arguments, platform::SettingsStore& settings, std::FILE* out,
                 std::FILE* err);
