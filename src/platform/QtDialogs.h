#pragma once

#include "platform/Dialogs.h"

class QWidget;

namespace platform {

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

// The common file dialog, Qt's own (translated), keeping its filter index
// between uses as the dialog control did.
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
