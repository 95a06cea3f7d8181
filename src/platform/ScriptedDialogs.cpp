#include "platform/ScriptedDialogs.h"

namespace platform {

QString DefaultBoxTitle() {
    return QStringLiteral("Tovalin");
}

QString BoxPromptText(const QString& prompt) {
    QString text = prompt;
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(u'\r', u'\n');
    return text;
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

void ScriptedFileDialog::choose(const QString& fileName, int filterIndex) {
    script_.emplace_back(std::make_pair(fileName, filterIndex));
}

void ScriptedFileDialog::cancel() {
    script_.emplace_back(std::nullopt);
}

FileDialogResult ScriptedFileDialog::showOpen(const QString& initialName, const QString& filter) {
    return answer(false, initialName, filter);
}

FileDialogResult ScriptedFileDialog::showSave(const QString& initialName, const QString& filter) {
    return answer(true, initialName, filter);
}

FileDialogResult ScriptedFileDialog::answer(bool save, const QString& initialName,
                                            const QString& filter) {
    shown_.push_back(Shown{save, initialName, filter});
    if (script_.empty()) {
        RecordedBox box;
        box.prompt = save ? QStringLiteral("save dialog") : QStringLiteral("open dialog");
        box.title = filter;
        throw UnexpectedBox(box);
    }
    const auto next = script_.front();
    script_.pop_front();
    FileDialogResult result;
    if (next) {
        result.fileName = next->first;
        filterIndex_ = next->second;
    } else {
        result.fileName = initialName;
    }
    const qsizetype slash = result.fileName.lastIndexOf(u'/');
    result.fileTitle = slash < 0 ? result.fileName : result.fileName.mid(slash + 1);
    result.filterIndex = filterIndex_;
    return result;
}

} // namespace platform
