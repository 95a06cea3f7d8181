#include "platform/QtShell.h"

#include <QDesktopServices>

namespace platform {

bool QtShell::open(const QUrl& address) {
    return QDesktopServices::openUrl(address);
}

} // namespace platform
