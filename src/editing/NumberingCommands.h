#pragma once

class MainWindowHost;

// Wires "Immatriculation" (MnuImmatriculation) and "Format des données"
// (Mnu_Format) to their dialogs. Each opens its dialog without blocking the
// main window; choosing it again while the dialog is open brings it forward.
void InstallNumberingAndFormatCommands(MainWindowHost& window);
