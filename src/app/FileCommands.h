#pragma once

#include "state/MainWindowSurface.h"

#include <QString>
#include <functional>

class GestionDonnee;
struct CommandContext;
namespace platform {
class MessageBoxService;
} // namespace platform
namespace importing {
struct ImportOptions;
struct ImportReport;
} // namespace importing

// Xyz and Dxf are the program's own readers; Csv and DxfPoints read other
// programs' files through the importer (import/Importer.h).
enum class FileFormat { Xyz, Dxf, Csv, DxfPoints };

namespace captions {
inline QString loading() {
    return QStringLiteral("Chargement en cours...");
}
// The design-time caption says "fichier", the one after opening "fichiers":
// both are what users have always seen.
inline QString designTime() {
    return QStringLiteral("Editeur de fichier XYZ et DXF");
}
inline QString afterOpen() {
    return QStringLiteral("Editeur de fichiers XYZ et DXF");
}
inline QString countLabelDesign() {
    return QStringLiteral("Nombre de points :");
}
} // namespace captions

// The text before the first "." of a file title; "" when it has none.
QString BaseNameOf(const QString& title);

// The dialog filters of the two commands; the format follows the filter
// chosen, never the file's extension.
namespace filters {
inline QString open() {
    return QStringLiteral("Fichier de points XYZ [*.*]|*.*|Fichier d'échange DXF [*.dxf]|*.dxf");
}
inline QString save() {
    return QStringLiteral(
        "Fichier de points XYZ [*.xyz]|*.xyz|Fichier d'échange DXF [*.dxf]|*.dxf");
}
} // namespace filters

// The open command's first step: when points are listed, asks whether the
// file is to be added to them. No empties the list on screen; false for
// Cancel, which ends the command.
bool AskToAddFile(CommandContext& context);
// "Ouvrir": asks whether to add to the points shown, lets the user choose a
// file and reads it as the chosen filter says.
void OpenCommand(CommandContext& context);
// "Enregistrer": writes the store as the chosen filter says.
void SaveCommand(CommandContext& context);

// Reads one file into the store as the open command does once the file is
// chosen: the loading caption, the reader, the fixed header row, the current
// names, the caption and count label, the list rebuilt.
// For Csv, options says what the user fixed (null: everything found from the
// file); for Csv and DxfPoints, report (when not null) receives what the
// importer used, read and left aside. Both are ignored by Xyz and Dxf.
void OpenFile(CommandContext& context, const QString& fileName, const QString& fileTitle,
              FileFormat format, const importing::ImportOptions* options = nullptr,
              importing::ImportReport* report = nullptr);
// The same but for the list, which is left as it was: for callers that make
// the rows themselves (GestionDonnee::AppendPointRows) instead of keeping them.
void ReadPointFile(CommandContext& context, const QString& fileName, const QString& fileTitle,
                   FileFormat format, const importing::ImportOptions* options = nullptr,
                   importing::ImportReport* report = nullptr);
// The format of a file named outside the dialog: DXF for a name ending in
// ".dxf" (any case), else XYZ.
FileFormat FormatOfName(const QString& fileName);

// Closing: when the data were changed, asks whether to save (Yes runs the
// save command); Cancel does not stop the closing.
void CloseMainWindow(GestionDonnee& state, platform::MessageBoxService& messages,
                     const std::function<void()>& saveCommand);
