#pragma once

#include <QList>
#include <QUrl>

namespace platform {

// The system's "open" action: hands an address (a web page, a mailto:) to
// the desktop's default handler. A failure (no browser, no mail program) is
// ignored, as the program has always ignored it.
class ShellService {
public:
    virtual ~ShellService() = default;
    virtual void open(const QUrl& address) = 0;
};

// For tests: records every address instead of opening it.
class RecordingShell : public ShellService {
public:
    void open(const QUrl& address) override { opened.append(address); }
    QList<QUrl> opened;
};

} // namespace platform
