#include "platform/GuardedApplication.h"

#include "platform/CommandRunner.h"
#include "platform/RuntimeError.h"

#include <cstdio>

namespace platform {

GuardedApplication::GuardedApplication(int& argc, char** argv) : QApplication(argc, argv) {}

bool GuardedApplication::notify(QObject* receiver, QEvent* event) {
    try {
        return QApplication::notify(receiver, event);
    } catch (...) {
        const std::exception_ptr error = std::current_exception();
        if (messages_ != nullptr) {
            try {
                ReportError(*messages_, error);
                return false;
            } catch (...) {
                // The box itself failed: the report goes to standard error.
            }
        }
        try {
            std::rethrow_exception(error);
        } catch (const RuntimeError& runtime) {
            std::fprintf(stderr, "%s\n", runtime.what());
        } catch (const std::exception& other) {
            std::fprintf(stderr, "%s\n", other.what());
        } catch (...) {
        }
    }
    return false;
}

} // namespace platform
