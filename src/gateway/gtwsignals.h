// The process's signal handlers: fatal faults are logged and end the process with status 1, lost peers and ended
// children are logged and nothing more, SIGTERM ends the process at once with status 0.
#pragma once

#include <string>

namespace gtwhandlernamespace {

// Installs all handlers. False with the reason in `error` at the first failure.
bool install_signal_handlers(std::string& error);

}  // namespace gtwhandlernamespace
