#include "app/FileCommands.h"

#include "formats/DxfReader.h"
#include "formats/DxfWriter.h"
#include "formats/XyzReader.h"
#include "formats/XyzWriter.h"
#include "import/Importer.h"
#include "platform/Dialogs.h"
#include "platform/Progress.h"
#include "state/CommandContext.h"
#include "state/GestionDonnee.h"

using namespace platform;

QString BaseNameOf(const QString& title) {
    const qsizetype dot = title.indexOf(u'.');
    return dot < 0 ? QString() : title.left(dot);
}

void OpenFile(CommandContext& context, const QString& fileName, const QString& fileTitle,
              FileFormat format, const importing::ImportOptions* options,
              importing::ImportReport* report) {
    ReadPointFile(context, fileName, fileTitle, format, options, report);
    context.state.RefreshPointList(context.progress);
}

void ReadPointFile(CommandContext& context, const QString& fileName, const QString& fileTitle,
                   FileFormat format, const importing::ImportOptions* options,
                   importing::ImportReport* report) {
    GestionDonnee& state = context.state;
    context.window.setCaption(captions::loading());
    importing::ImportReport imported;
    switch (format) {
    case FileFormat::Xyz:
        ReadXyzFile(state, fileName, context.progress);
        break;
    case FileFormat::Dxf:
        ReadDxfFile(context, fileName);
        break;
    case FileFormat::Csv:
        imported = importing::ImportDelimitedFile(
            state, fileName, options ? *options : importing::ImportOptions(), context.progress);
        break;
    case FileFormat::DxfPoints:
        imported = importing::ImportDxfPoints(state, fileName, context.progress);
        break;
    }
    if (report)
        *report = std::move(imported);

    // The header row is fixed only when the grid has rows now; the list is
    // rebuilt only at the end, so after reading into an empty list the header
    // scrolls with the points. Kept in this order.
    state.Grid.setFixedRows(state.Grid.rows() > 1 ? 1 : 0);
    state.CurrentFileName = fileName;
    state.CurrentBaseName = BaseNameOf(fileTitle);
    context.window.setCaption(captions::afterOpen());
    // One less than the points in the store, as the label has always shown.
    context.window.setCountLabel(GestionDonnee::PointCountLabel(state.PointCount - 1));
}

FileFormat FormatOfName(const QString& fileName) {
    return fileName.endsWith(QStringLiteral(".dxf"), Qt::CaseInsensitive) ? FileFormat::Dxf
                                                                          : FileFormat::Xyz;
}

bool AskToAddFile(CommandContext& context) {
    GestionDonnee& state = context.state;
    if (state.Grid.rows() > 1) {
        const MsgAnswer answer = context.messages.show(
            QStringLiteral("Voulez vous ajouter le fichier à ouvrir ?"), MsgButtons::YesNoCancel,
            MsgIcon::None, QStringLiteral("Ajout de fichier"));
        if (answer == MsgAnswer::Cancel)
            return false;
        // Not adding only empties the list on screen: the store keeps its
        // points, which come back at the refresh; what changes is that
        // automatic numbering starts again from its first number.
        if (answer == MsgAnswer::No)
            state.Grid.setRows(1);
    }
    return true;
}

void OpenCommand(CommandContext& context) {
    if (!AskToAddFile(context))
        return;
    // A cancelled dialog is not tested for: its empty name fails to open and
    // that error is what the user sees.
    const FileDialogResult chosen = context.files.showOpen(QString(), filters::open());
    if (chosen.filterIndex == 1)
        OpenFile(context, chosen.fileName, chosen.fileTitle, FileFormat::Xyz);
    else if (chosen.filterIndex == 2)
        OpenFile(context, chosen.fileName, chosen.fileTitle, FileFormat::Dxf);
}

void SaveCommand(CommandContext& context) {
    GestionDonnee& state = context.state;
    if (state.Grid.rows() == 1)
        return;
    const FileDialogResult chosen = context.files.showSave(state.CurrentBaseName, filters::save());
    if (chosen.filterIndex == 1)
        WriteXyzFile(context, chosen.fileName);
    else if (chosen.filterIndex == 2)
        WriteDxfFile(context, chosen.fileName);
    // Every save counts as a change, so quitting asks again; users rely on
    // that question as a last chance.
    state.DataModified = true;
    state.CurrentFileName = chosen.fileName;
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
