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

} // namespace platform
