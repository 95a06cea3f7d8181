#pragma once

#include <QString>

class MainWindowHost;
namespace platform {
class ShellService;
}

// Help (F1), the about box with the history, the two web links and the
// message to the author, hung on the main window's menu. Help and history
// come from programFolder.
void InstallInfoCommands(MainWindowHost& window, platform::ShellService& shell,
                         const QString& programFolder);
