#pragma once

#include "platform/Dialogs.h"

#include <functional>

namespace platform {

// Runs one command. A run-time error that the command does not trap ends it
// and is reported as the event loop reports it: critical box titled
// "Tovalin", "Erreur d'exécution 'N' :", an empty line, the description.
// Whatever the command had already done stays done. Returns false on error.
bool RunCommand(MessageBoxService& messages, const std::function<void()>& command);

} // namespace platform
