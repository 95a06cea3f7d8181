#include "platform/QtShell.h"

#include <QDesktopServices>

namespace platform {

void QtShell::open(const QUrl& address) {
    // Whether a handler took it or not, nothing is reported.
    QDesktopServices::openUrl(address);
}

} // namespace platform
