// The commands about runners: the records that FSMCore starts the link from.
#pragma once

#include <cstdint>
#include <string>

#include "home/context.h"

namespace lab {

int list_runners(Context& context);
// A record of a runner that waits on `port` for a first attach; started at once when FSMCore is there, and with it
// otherwise.
int add_runner(Context& context, uint16_t port, bool tls, bool start);
// Asks FSMCore: "RUN" or "QUIT".
int command_runner(Context& context, const std::string& id, const std::string& command);
// Quits it (if FSMCore is there) and removes its record.
int remove_runner(Context& context, const std::string& id);

}  // namespace lab
