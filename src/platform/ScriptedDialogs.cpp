#include "platform/ScriptedDialogs.h"

namespace platform {

QString DefaultBoxTitle() {
    return QStringLiteral("Tovalin");
}

UnexpectedBox::UnexpectedBox(const RecordedBox& box)
    : std::logic_error(QStringLiteral("unexpected %1 box \"%2\" titled \"%3\"")
                           .arg(box.isInput ? QStringLiteral("input") : QStringLiteral("message"),
                                box.prompt, box.title)
                           .toStdString()) {}

MsgAnswer ScriptedDialogs::show(const QString& prompt, MsgButtons buttons, MsgIcon icon,
                                const QString& title) {
    RecordedBox box;
    box.prompt = prompt;
    box.title = title.isEmpty() ? DefaultBoxTitle() : title;
    box.buttons = buttons;
    box.icon = icon;
    boxes_.push_back(box);
    if (script_.empty() || !std::holds_alternative<MsgAnswer>(script_.front())) {
        if (throwOnUnexpected_)
            throw UnexpectedBox(box);
        ++unexpected_;
        return buttons == MsgButtons::Ok ? MsgAnswer::Ok : MsgAnswer::Cancel;
    }
    const MsgAnswer answer = std::get<MsgAnswer>(script_.front());
    script_.pop_front();
    return answer;
}

QString ScriptedDialogs::ask(const QString& prompt, const QString& title,
                             const QString& defaultReply) {
    RecordedBox box;
    box.isInput = true;
    box.prompt = prompt;
    box.title = title.isEmpty() ? DefaultBoxTitle() : title;
    box.defaultReply = defaultReply;
    boxes_.push_back(box);
    if (script_.empty() || !std::holds_alternative<QString>(script_.front())) {
        if (throwOnUnexpected_)
            throw UnexpectedBox(box);
        ++unexpected_;
        return QString();
    }
    QString reply = std::get<QString>(script_.front());
    script_.pop_front();
    return reply;
}

} // namespace platform
