#include "app/FileCommands.h"

#include "app/GestionDonnee.h"
#include "formats/XyzReader.h"
#include "platform/Dialogs.h"
#include "platform/Progress.h"
#include "platform/RuntimeError.h"

#include <QFileInfo>

using namespace platform;

QString BaseNameOf(const QString& title) {
    const qsizetype dot = title.indexOf(u'.');
    return dot < 0 ? QString() : title.left(dot);
}

void OpenFile(GestionDonnee& state, MainWindowSurface& window, Progress& progress,
              const QString& fileName, FileFormat format) {
    window.setCaption(captions::loading());
    if (format == FileFormat::Xyz)
        ReadXyzFile(state, fileName, progress);
    else
        throw RuntimeError(RuntimeError::BadFileName); // DXF reading comes with the DXF reader

    // The header row is fixed only when the grid has rows now; the list is
    // rebuilt only at the end, so after reading into an empty list the header
    // scrolls with the points. Kept in this order.
    state.Grid.setFixedRows(state.Grid.rows() > 1 ? 1 : 0);
    state.CurrentFileName = fileName;
    state.CurrentBaseName = BaseNameOf(QFileInfo(fileName).fileName());
    window.setCaption(captions::afterOpen());
    // One less than the points in the store, as the label has always shown.
    window.setCountLabel(GestionDonnee::PointCountLabel(state.PointCount - 1));
    state.RefreshPointList();
}

void CloseMainWindow(GestionDonnee& state, MessageBoxService& messages,
                     const std::function<void()>& saveCommand) {
    if (!state.DataModified)
        return;
    const MsgAnswer answer =
        messages.show(QStringLiteral("Voulez vous enregistrer les modifications ?"),
                      MsgButtons::YesNoCancel, MsgIcon::Question, QStringLiteral("Enregistrement"));
    if (answer == MsgAnswer::Yes)
        saveCommand();
    // No and Cancel both go on closing: Cancel never stopped the program from closing.
}
