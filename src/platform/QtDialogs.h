#pragma once

#include "platform/Dialogs.h"

#include <QIdentityProxyModel>

class QCoreApplication;
class QTranslator;
class QWidget;

namespace platform {

// Loads Qt's own French translation (standard buttons, file dialog, context
// menus) whatever the system's language, from Qt's translations folder
// (Debian's qt6-translations-l10n). The translator, owned by app; null when
// the translation is not there.
QTranslator* InstallQtFrenchTranslation(QCoreApplication& app);

// The French name Qt's file model gives a file type it leaves untranslated
// ("Folder", "Drive", "xyz File" ...); any other text unchanged.
QString FrenchFileType(const QString& type);

// The file dialog's list as a French desktop shows it. Qt's file model writes
// sizes and dates with the system locale, which is English under C; here
// they follow the run's regional format (the default QLocale, French under
// C), and the types Qt leaves untranslated are French.
class FileDetailsModel : public QIdentityProxyModel {
public:
    using QIdentityProxyModel::QIdentityProxyModel;
    QVariant data(const QModelIndex& index, int role) const override;
};

// Message and input boxes shown with Qt's dialogs, French captions.
class QtMessageBoxService : public MessageBoxService {
public:
    explicit QtMessageBoxService(QWidget* parent = nullptr) : parent_(parent) {}
    void setParent(QWidget* parent) { parent_ = parent; }
    MsgAnswer show(const QString& prompt, MsgButtons buttons, MsgIcon icon,
                   const QString& title = QString()) override;

private:
    QWidget* parent_;
};

class QtInputBoxService : public InputBoxService {
public:
    explicit QtInputBoxService(QWidget* parent = nullptr) : parent_(parent) {}
    void setParent(QWidget* parent) { parent_ = parent; }
    QString ask(const QString& prompt, const QString& title, const QString& defaultReply) override;

private:
    QWidget* parent_;
};

// The common file dialog, Qt's own widget dialog on every desktop (so the
// filters, the French list and the look are the same everywhere), keeping its
// filter index between uses as the dialog control did. Each filter is shown
// once, by its description, which already carries the pattern.
class QtFileDialogService : public FileDialogService {
public:
    explicit QtFileDialogService(QWidget* parent = nullptr) : parent_(parent) {}
    void setParent(QWidget* parent) { parent_ = parent; }
    FileDialogResult showOpen(const QString& initialName, const QString& filter) override;
    FileDialogResult showSave(const QString& initialName, const QString& filter) override;

private:
    FileDialogResult show(bool save, const QString& initialName, const QString& filter);
    QWidget* parent_;
    int filterIndex_ = 1;
};

} // namespace platform
