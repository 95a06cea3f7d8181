#pragma once

class MainWindowHost;
namespace platform {
class PrinterService;
}

// Wires the main window's "print" item: with points in the list it opens the
// print dialog without blocking the main window; with only the list's header
// row it does nothing at all. The printer chosen in the dialog stays the
// program's current printer.
void InstallPrintingCommands(MainWindowHost& window, platform::PrinterService& printer);
