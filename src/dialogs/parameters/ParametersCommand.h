#pragma once

class MainWindowHost;

// Wires the main window's "para" item to the file parameters dialog. The
// dialog is modeless and there is one at a time: choosing the item while it
// is open brings the open one to the front, as it is, without reloading it.
void InstallParameterCommands(MainWindowHost& window);
