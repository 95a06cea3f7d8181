#include "platform/QtDialogs.h"

#include "platform/NumberText.h"

#include <QCoreApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QLabel>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QTranslator>
#include <QTreeView>
#include <QVBoxLayout>

namespace platform {

QTranslator* InstallQtFrenchTranslation(QCoreApplication& app) {
    auto* translator = new QTranslator(&app);
    if (!translator->load(QLocale(QLocale::French, QLocale::France), QStringLiteral("qtbase"),
                          QStringLiteral("_"),
                          QLibraryInfo::path(QLibraryInfo::TranslationsPath)) ||
        !QCoreApplication::installTranslator(translator)) {
        delete translator;
        return nullptr;
    }
    return translator;
}

QString FrenchFileType(const QString& type) {
    if (type == u"Folder")
        return QStringLiteral("Dossier");
    if (type == u"Drive")
        return QStringLiteral("Lecteur");
    if (type == u"Shortcut")
        return QStringLiteral("Raccourci");
    if (type == u"File")
        return QStringLiteral("Fichier");
    // "%1 File", the type of a file no MIME type describes, by its suffix.
    if (type.endsWith(QStringLiteral(" File")))
        return QStringLiteral("Fichier ") + type.chopped(5);
    return type;
}

QVariant FileDetailsModel::data(const QModelIndex& index, int role) const {
    const auto* files = qobject_cast<const QFileSystemModel*>(sourceModel());
    if (role != Qt::DisplayRole || files == nullptr || !index.isValid())
        return QIdentityProxyModel::data(index, role);
    const QModelIndex source = mapToSource(index);
    switch (index.column()) {
    case 1: // size: none for a folder, as Qt's own model
        if (files->isDir(source))
            return QString();
        return FileSizeText(files->size(source));
    case 2:
        return FrenchFileType(QIdentityProxyModel::data(index, role).toString());
    case 3:
        return QLocale().toString(files->lastModified(source), QLocale::ShortFormat);
    default:
        return QIdentityProxyModel::data(index, role);
    }
}

MsgAnswer QtMessageBoxService::show(const QString& prompt, MsgButtons buttons, MsgIcon icon,
                                    const QString& title) {
    QMessageBox box(parent_);
    box.setWindowTitle(title.isEmpty() ? DefaultBoxTitle() : title);
    // Plain text: a prompt holds file names and identifiers, never markup.
    box.setTextFormat(Qt::PlainText);
    box.setText(BoxPromptText(prompt));
    switch (icon) {
    case MsgIcon::None:
        box.setIcon(QMessageBox::NoIcon);
        break;
    case MsgIcon::Critical:
        box.setIcon(QMessageBox::Critical);
        break;
    case MsgIcon::Information:
        box.setIcon(QMessageBox::Information);
        break;
    case MsgIcon::Question:
        box.setIcon(QMessageBox::Question);
        break;
    }
    // French captions whatever translation is loaded, with the letters a
    // French desktop underlines: Alt+O, Alt+N, Alt+A (or the letter alone).
    QPushButton* ok = nullptr;
    QPushButton* yes = nullptr;
    QPushButton* no = nullptr;
    QPushButton* cancel = nullptr;
    switch (buttons) {
    case MsgButtons::Ok:
        ok = box.addButton(QStringLiteral("OK"), QMessageBox::AcceptRole);
        box.setEscapeButton(ok);
        break;
    case MsgButtons::YesNo:
        yes = box.addButton(QStringLiteral("&Oui"), QMessageBox::YesRole);
        no = box.addButton(QStringLiteral("&Non"), QMessageBox::NoRole);
        box.setEscapeButton(no);
        break;
    case MsgButtons::YesNoCancel:
        yes = box.addButton(QStringLiteral("&Oui"), QMessageBox::YesRole);
        no = box.addButton(QStringLiteral("&Non"), QMessageBox::NoRole);
        cancel = box.addButton(QStringLiteral("&Annuler"), QMessageBox::RejectRole);
        // The close box answers Cancel.
        box.setEscapeButton(cancel);
        break;
    }
    box.exec();
    QAbstractButton* clicked = box.clickedButton();
    if (clicked != nullptr && clicked == yes)
        return MsgAnswer::Yes;
    if (clicked != nullptr && clicked == no)
        return MsgAnswer::No;
    if (buttons == MsgButtons::YesNoCancel && (clicked == nullptr || clicked == cancel))
        return MsgAnswer::Cancel;
    if (buttons == MsgButtons::YesNo)
        return MsgAnswer::No;
    return MsgAnswer::Ok;
}

QString QtInputBoxService::ask(const QString& prompt, const QString& title,
                               const QString& defaultReply) {
    QDialog dialog(parent_);
    dialog.setWindowTitle(title.isEmpty() ? DefaultBoxTitle() : title);
    auto* layout = new QVBoxLayout(&dialog);
    auto* label = new QLabel(BoxPromptText(prompt), &dialog);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    auto* edit = new QLineEdit(defaultReply, &dialog);
    edit->selectAll();
    auto* buttonBox = new QDialogButtonBox(&dialog);
    buttonBox->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    buttonBox->addButton(QStringLiteral("Annuler"), QDialogButtonBox::RejectRole);
    QObject::connect(buttonBox, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttonBox, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(label);
    layout->addWidget(edit);
    layout->addWidget(buttonBox);
    dialog.setMinimumWidth(360);
    // "Annuler" and the close box give the empty text.
    return dialog.exec() == QDialog::Accepted ? edit->text() : QString();
}

FileDialogResult QtFileDialogService::showOpen(const QString& initialName, const QString& filter) {
    return show(false, initialName, filter);
}

FileDialogResult QtFileDialogService::showSave(const QString& initialName, const QString& filter) {
    return show(true, initialName, filter);
}

FileDialogResult QtFileDialogService::show(bool save, const QString& initialName,
                                           const QString& filter) {
    // "description|pattern|description|pattern" to Qt's "description (pattern)".
    const QStringList parts = filter.split(u'|');
    QStringList nameFilters;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2)
        nameFilters << parts[i] + QStringLiteral(" (") + parts[i + 1] + u')';

    QFileDialog dialog(parent_);
    dialog.setOptions(QFileDialog::DontUseNativeDialog | QFileDialog::HideNameFilterDetails);
    dialog.setProxyModel(new FileDetailsModel(&dialog));
    dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dialog.setNameFilters(nameFilters);
    if (filterIndex_ >= 1 && filterIndex_ <= nameFilters.size())
        dialog.selectNameFilter(nameFilters[filterIndex_ - 1]);
    if (!initialName.isEmpty())
        dialog.selectFile(initialName);
    // Room for the French sizes and dates.
    dialog.resize(760, 460);
    if (auto* details = dialog.findChild<QTreeView*>(QStringLiteral("treeView"))) {
        for (int column = 1; column <= 3; ++column)
            details->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    }

    FileDialogResult result;
    result.fileName = initialName;
    result.fileTitle = QFileInfo(initialName).fileName();
    if (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty()) {
        result.fileName = dialog.selectedFiles().constFirst();
        result.fileTitle = QFileInfo(result.fileName).fileName();
        // With the details hidden, Qt gives back the filter as shown: its
        // description alone.
        const QString selected = dialog.selectedNameFilter();
        for (qsizetype i = 0; i < nameFilters.size(); ++i) {
            if (selected == nameFilters[i] || selected == parts[2 * i])
                filterIndex_ = static_cast<int>(i) + 1;
        }
    }
    result.filterIndex = filterIndex_;
    return result;
}

} // namespace platform
