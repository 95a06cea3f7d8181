#pragma once

#include <QList>
#include <QUrl>
#include <functional>

namespace platform {

// The system's "open" action: hands an address (a web page, a mailto:) to
// the desktop's default handler. False when no handler took it (no browser,
// no mail program); the web links ignore that, as the program always has.
class ShellService {
public:
    virtual ~ShellService() = default;
    virtual bool open(const QUrl& address) = 0;
};

// For tests: records every address instead of opening it, and answers as
// the desktop would (handled, or no handler).
class RecordingShell : public ShellService {
public:
    bool open(const QUrl& address) override {
        opened.append(address);
        if (onOpen)
            onOpen();
        return handled;
    }
    QList<QUrl> opened;
    bool handled = true;
    // Runs as each address is opened; a test makes it throw.
    std::function<void()> onOpen;
};

} // namespace platform
