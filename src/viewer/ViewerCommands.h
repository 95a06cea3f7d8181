#pragma once

class MainWindowHost;

// Wires the main window's "Visualisation" (view): with points in the list it
// opens the point view without blocking the main window; with only the
// list's header row it says "Nombre de points insuffusant".
void InstallViewerCommands(MainWindowHost& window);
