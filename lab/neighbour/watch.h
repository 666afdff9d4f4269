// The live view: the home as a tree on the terminal, drawn anew with each change; line by line when the output is no
// terminal.
#pragma once

#include "neighbour/datagrams.h"
#include "neighbour/session.h"

namespace neighbour {

struct WatchOptions {
    AttachFields attach;  // used when there is a user in it; otherwise the token on record is
    double seconds = 0;   // 0: until interrupted
};

// Listens, attaches when told to, discovers, registers for everything and shows the home until interrupted (Ctrl-C),
// the time is over, or the controller withdraws the attachment. The attachment stays.
int watch(Session& session, WatchOptions options);

}  // namespace neighbour
