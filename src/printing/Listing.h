#pragma once

#include "platform/Version.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

class GestionDonnee;
namespace platform {
class MessageBoxService;
class PointGridModel;
class PrinterService;
class Progress;
} // namespace platform

// The printed listing of the point list: its header and one line per row of
// the main window's grid, cells as the grid shows them.

// The four header lines: the program's version (major.minor), an empty line,
// the date and time of printing, the file last opened or saved.
QStringList ListingHeader(const platform::ProgramVersion& version, const QDateTime& now,
                          const QString& currentFileName);
// The line of one grid row (from 1): "Matricule : " and the four cells.
QString ListingLine(const platform::PointGridModel& grid, int row);

// "Imprimer": prints the header and every row of the grid on the current
// printer and ends the document. Any error cancels the document and shows
// "Une erreur est survenu lors de l'impression. Retenter une impression.";
// nothing else changes. Returns whether the document was handed over.
bool PrintPointList(const GestionDonnee& state, platform::PrinterService& printer,
                    platform::MessageBoxService& messages, platform::Progress& progress,
                    const QDateTime& now = QDateTime::currentDateTime());

namespace printing_texts {
QString errorPrompt();
QString errorTitle();
QString progressCaption();
} // namespace printing_texts
