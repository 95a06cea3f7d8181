#pragma once

#include "state/MainWindowSurface.h"

class GestionDonnee;
namespace platform {
class MessageBoxService;
class InputBoxService;
class FileDialogService;
class SettingsStore;
class Progress;
} // namespace platform

// Everything a command works with: the state of the run, the platform
// services and the main window's surface. Commands take this and nothing
// global, so they run the same in the program, the converter and the tests.
struct CommandContext {
    GestionDonnee& state;
    platform::MessageBoxService& messages;
    platform::InputBoxService& input;
    platform::FileDialogService& files;
    platform::SettingsStore& settings;
    MainWindowSurface& window;
    platform::Progress& progress;
};
