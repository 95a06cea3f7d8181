#pragma once

#include <QApplication>

namespace platform {

class MessageBoxService;

// The program's application object. Every window runs its slots and event
// handlers through the entry-point guard; this is the net under them: an
// error that still reaches the event loop is reported and the event dropped,
// so the program goes on with the user's work.
class GuardedApplication : public QApplication {
public:
    GuardedApplication(int& argc, char** argv);

    // The service that shows the report; until one is set, the report goes
    // to standard error.
    void setMessages(MessageBoxService* messages) { messages_ = messages; }

    bool notify(QObject* receiver, QEvent* event) override;

private:
    MessageBoxService* messages_ = nullptr;
};

} // namespace platform
