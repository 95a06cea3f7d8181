#include "printing/Listing.h"

#include "platform/Dialogs.h"
#include "platform/NumberText.h"
#include "platform/PointGridModel.h"
#include "platform/Printer.h"
#include "platform/Progress.h"
#include "platform/RuntimeError.h"
#include "state/GestionDonnee.h"

#include <QVarLengthArray>
#include <new>

namespace printing_texts {
// "survenu": the message as the program has always spelt it.
QString errorPrompt() {
    return QStringLiteral("Une erreur est survenu lors de l'impression. Retenter une impression.");
}
QString errorTitle() {
    return QStringLiteral("Erreur");
}
QString progressCaption() {
    return QStringLiteral("Impression en cours... ");
}
} // namespace printing_texts

QStringList ListingHeader(const platform::ProgramVersion& version, const QDateTime& now,
                          const QString& currentFileName) {
    return {QStringLiteral("Tovalin version ") + platform::DefaultText(version.major) +
                QLatin1Char('.') + platform::DefaultText(version.minor),
            QString(),
            QStringLiteral("Imprimer le ") + platform::PrintingDateText(now.date()) +
                QStringLiteral(" à ") + platform::PrintingTimeText(now.time()),
            QStringLiteral("Fichier : ") + currentFileName};
}

QString ListingLine(const platform::PointGridModel& grid, int row) {
    // The row's four cells decoded once, not once a cell.
    QVarLengthArray<char16_t, 256> scratch;
    QStringView cells[4];
    grid.rowCells(row, 4, scratch, cells);
    QString line = QStringLiteral("Matricule : ");
    line.append(cells[0]).append(u"     X : ").append(cells[1]).append(u"     Y : ");
    line.append(cells[2]).append(u"     Z : ").append(cells[3]);
    return line;
}

bool PrintPointList(const GestionDonnee& state, platform::PrinterService& printer,
                    platform::MessageBoxService& messages, platform::Progress& progress,
                    const QDateTime& now) {
    try {
        for (const QString& line :
             ListingHeader(platform::programVersion(), now, state.CurrentFileName))
            printer.printLine(line);
        const platform::PointGridModel& grid = state.Grid;
        const int rows = grid.rows();
        const QString caption = printing_texts::progressCaption();
        const QString ofCount =
            QLatin1Char('/') + platform::DefaultText(rows - 1) + QStringLiteral(" points");
        for (int row = 1; row < rows; ++row) {
            printer.printLine(ListingLine(grid, row));
            progress.setCountCaption(caption, row, ofCount);
        }
        progress.setCaption(caption);
        printer.endDoc();
        return true;
    } catch (const platform::RuntimeError&) {
    } catch (const std::bad_alloc&) {
    }
    printer.killDoc();
    messages.show(printing_texts::errorPrompt(), platform::MsgButtons::Ok,
                  platform::MsgIcon::Critical, printing_texts::errorTitle());
    return false;
}
