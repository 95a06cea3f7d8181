#pragma once

#include "platform/Dialogs.h"

#include <deque>
#include <optional>
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

// Test double for the file dialog: answers from a queue of results and
// records what each dialog was given. An empty queue fails the test.
class ScriptedFileDialog : public FileDialogService {
public:
    struct Shown {
        bool save = false;
        QString initialName;
        QString filter;
    };

    // The user picks fileName with the filter at index filterIndex.
    void choose(const QString& fileName, int filterIndex);
    // The user cancels: the dialog returns its initial name and last index.
    void cancel();

    FileDialogResult showOpen(const QString& initialName, const QString& filter) override;
    FileDialogResult showSave(const QString& initialName, const QString& filter) override;

    const std::vector<Shown>& shown() const { return shown_; }
    std::size_t unusedAnswers() const { return script_.size(); }

private:
    FileDialogResult answer(bool save, const QString& initialName, const QString& filter);
    std::deque<std::optional<std::pair<QString, int>>> script_;
    std::vector<Shown> shown_;
    int filterIndex_ = 1;
};

} // namespace platform
