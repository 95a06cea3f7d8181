#pragma once

#include "app/MainWindowSurface.h"

#include <QString>
#include <functional>

class GestionDonnee;
namespace platform {
class MessageBoxService;
class Progress;
} // namespace platform


enum class FileFormat { Xyz, Dxf };

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

// Reads one file into the store as the open command does once the file is
// chosen: the loading caption, the reader, the fixed header row, the current
// names, the caption and count label, the list rebuilt.
void OpenFile(GestionDonnee& state, MainWindowSurface& window, platform::Progress& progress,
              const QString& fileName, FileFormat format);

// Closing: when the data were changed, asks whether to save (Yes runs the
// save command); Cancel does not stop the closing.
void CloseMainWindow(GestionDonnee& state, platform::MessageBoxService& messages,
                     const std::function<void()>& saveCommand);
