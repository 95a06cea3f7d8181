#include "platform/CommandRunner.h"

#include "platform/RuntimeError.h"

#include <new>

namespace platform {

bool RunCommand(MessageBoxService& messages, const std::function<void()>& command) {
    try {
        command();
        return true;
    } catch (const RuntimeError& error) {
        messages.show(error.reportText(), MsgButtons::Ok, MsgIcon::Critical, DefaultBoxTitle());
    } catch (const std::bad_alloc&) {
        // Out of memory: report it the same way rather than end the program.
        messages.show(RuntimeError(7, QStringLiteral("Mémoire insuffisante")).reportText(),
                      MsgButtons::Ok, MsgIcon::Critical, DefaultBoxTitle());
    }
    return false;
}

} // namespace platform
