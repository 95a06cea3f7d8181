#pragma once

#include "platform/Dialogs.h"

#include <deque>
#include <stdexcept>
#include <variant>
#include <vector>

namespace platform {

// One box that was shown: what the user saw.
struct RecordedBox {
    bool isInput = false;
    QString prompt;
    QString title; // as shown: "Tovalin" when the caller gave none
    MsgButtons buttons = MsgButtons::Ok;
    MsgIcon icon = MsgIcon::None;
    QString defaultReply; // input boxes only
};

// Thrown when a box appears that the script did not expect, so the test fails.
class UnexpectedBox : public std::logic_error {
public:
    explicit UnexpectedBox(const RecordedBox& box);
};

// Test double for the message and input boxes: records every box and answers
// from a queue of scripted replies, in order.
class ScriptedDialogs : public MessageBoxService, public InputBoxService {
public:
    void answerMessage(MsgAnswer answer) { script_.emplace_back(answer); }
    void answerInput(const QString& reply) { script_.emplace_back(reply); }

    MsgAnswer show(const QString& prompt, MsgButtons buttons, MsgIcon icon,
                   const QString& title = QString()) override;
    QString ask(const QString& prompt, const QString& title, const QString& defaultReply) override;

    // Where an exception must not cross the event loop (a box shown from a
    // window's event handler), record unexpected boxes instead of throwing;
    // they answer Cancel (Ok for an Ok box, "" for an input box).
    void setThrowOnUnexpected(bool enabled) { throwOnUnexpected_ = enabled; }
    int unexpectedBoxes() const { return unexpected_; }

    const std::vector<RecordedBox>& boxes() const { return boxes_; }
    std::size_t unusedAnswers() const { return script_.size(); }
    void clear() {
        boxes_.clear();
        script_.clear();
        unexpected_ = 0;
    }

private:
    std::vector<RecordedBox> boxes_;
    std::deque<std::variant<MsgAnswer, QString>> script_;
    bool throwOnUnexpected_ = true;
    int unexpected_ = 0;
};

} // namespace platform
