#include "platform/CommandRunner.h"

#include "platform/RuntimeError.h"
#include "platform/ScriptedDialogs.h"

#include <new>

namespace platform {

bool ReportError(MessageBoxService& messages, std::exception_ptr error) {
    RuntimeError report(0);
    try {
        std::rethrow_exception(error);
    } catch (const UnexpectedBox&) {
        return false;
    } catch (const RuntimeError& runtime) {
        report = runtime;
    } catch (const std::bad_alloc&) {
        // Out of memory: reported the same way rather than end the program.
        report = RuntimeError(7, QStringLiteral("Mémoire insuffisante"));
    } catch (...) {
        // Anything else is a fault of the program; it ends the command as an
        // untrapped error would, and the user's work stays.
        report = RuntimeError(51, QStringLiteral("Erreur interne"));
    }
    messages.show(report.reportText(), MsgButtons::Ok, MsgIcon::Critical, DefaultBoxTitle());
    return true;
}

bool RunCommand(MessageBoxService& messages, const std::function<void()>& command) {
    try {
        command();
        return true;
    } catch (...) {
        if (!ReportError(messages, std::current_exception()))
            throw;
    }
    return false;
}

} // namespace platform
