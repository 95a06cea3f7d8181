#include "platform/QtDialogs.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

namespace platform {

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
    // French captions whatever translation is loaded.
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
        yes = box.addButton(QStringLiteral("Oui"), QMessageBox::YesRole);
        no = box.addButton(QStringLiteral("Non"), QMessageBox::NoRole);
        box.setEscapeButton(no);
        break;
    case MsgButtons::YesNoCancel:
        yes = box.addButton(QStringLiteral("Oui"), QMessageBox::YesRole);
        no = box.addButton(QStringLiteral("Non"), QMessageBox::NoRole);
        cancel = box.addButton(QStringLiteral("Annuler"), QMessageBox::RejectRole);
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
    dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dialog.setNameFilters(nameFilters);
    if (filterIndex_ >= 1 && filterIndex_ <= nameFilters.size())
        dialog.selectNameFilter(nameFilters[filterIndex_ - 1]);
    if (!initialName.isEmpty())
        dialog.selectFile(initialName);

    FileDialogResult result;
    result.fileName = initialName;
    result.fileTitle = QFileInfo(initialName).fileName();
    if (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty()) {
        result.fileName = dialog.selectedFiles().constFirst();
        result.fileTitle = QFileInfo(result.fileName).fileName();
        const qsizetype chosen = nameFilters.indexOf(dialog.selectedNameFilter());
        if (chosen >= 0)
            filterIndex_ = static_cast<int>(chosen) + 1;
    }
    result.filterIndex = filterIndex_;
    return result;
}

} // namespace platform
