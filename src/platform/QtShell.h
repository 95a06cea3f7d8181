#pragma once

#include "platform/Shell.h"

namespace platform {

// The desktop's default handler, through QDesktopServices.
class QtShell : public ShellService {
public:
    bool open(const QUrl& address) override;
};

} // namespace platform
