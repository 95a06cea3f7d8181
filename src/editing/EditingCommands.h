#pragma once

class MainWindowHost;

// Wires the point editing commands of the main window: "Entrer un point"
// (ent_pt), "Modifier le point" (mod_pt, also a double click on a list row or
// on List1), "Supprimer le point" (sup_pt) and "Rechercher" (rech).
void InstallEditingCommands(MainWindowHost& window);
