#pragma once

#include <QString>

class GestionDonnee;
struct InMemorySettings;
namespace platform {
class SettingsStore;
class MessageBoxService;
} // namespace platform

// Start-up of the main window, without the window: everything it reads into
// the state of the run.

// Reads the twelve file settings, NbDec and SepSys into memory, each with its
// default. SepSys must be a number (error 13 otherwise).
void LoadSettings(InMemorySettings& settings, const platform::SettingsStore& store);

// The whole start-up: settings, the program's folder written to the store,
// DataModified cleared, the list's header row, the mail settings file. An
// error (a SepSys that is no number) ends it where it stands.
void LoadMainWindow(GestionDonnee& state, platform::SettingsStore& store,
                    platform::MessageBoxService& messages, const QString& programFolder);

// Lines 7 and 8 of "atm.bin" beside the program: the web site and support
// addresses. A missing file is reported and start-up goes on.
void LoadMailSettings(GestionDonnee& state, platform::MessageBoxService& messages,
                      const QString& programFolder);

// Settings sections.
namespace sections {
inline QString parametre() {
    return QStringLiteral("Paramètre");
}
inline QString app() {
    return QStringLiteral("App");
}
inline QString divers() {
    return QStringLiteral("Divers");
}
} // namespace sections
