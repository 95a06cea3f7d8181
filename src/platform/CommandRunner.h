#pragma once

#include "platform/Dialogs.h"

#include <concepts>
#include <functional>
#include <utility>

namespace platform {

// Runs one command. A run-time error that the command does not trap ends it
// and is reported as the event loop reports it: critical box titled
// "Tovalin", "Erreur d'exécution 'N' :", an empty line, the description.
// Whatever the command had already done stays done. Returns false on error.
bool RunCommand(MessageBoxService& messages, const std::function<void()>& command);

// The report of an error that reached the top of an entry point, whatever
// its kind; false when it is not one the program reports (a test double's
// own failure, which must go on to fail its test).
bool ReportError(MessageBoxService& messages, std::exception_ptr error);

// The body of an entry point from Qt into the program's code (a slot, an
// event handler, a timer, a paint), run as a command: nothing it throws
// reaches Qt. Connect it as a slot: Guarded(messages, [this] { ... }).
template <typename F> class GuardedCall {
public:
    GuardedCall(MessageBoxService& messages, F body)
        : messages_(&messages), body_(std::move(body)) {}

    template <typename... Args>
    requires std::invocable<F&, Args...>
    void operator()(Args&&... args) {
        RunCommand(*messages_, [&] { std::invoke(body_, std::forward<Args>(args)...); });
    }

private:
    MessageBoxService* messages_;
    F body_;
};

template <typename F> GuardedCall<std::decay_t<F>> Guarded(MessageBoxService& messages, F&& body) {
    return GuardedCall<std::decay_t<F>>(messages, std::forward<F>(body));
}

} // namespace platform
