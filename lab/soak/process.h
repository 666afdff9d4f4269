// What the system says about the program under load: its memory, its descriptors, whether it is there at all.
#pragma once

#include <sys/types.h>

namespace soak {

struct Footprint {
    long residentKilobytes = 0;
    long descriptors = 0;
};

bool is_running(pid_t process);
// All zero when the process has gone.
Footprint footprint_of(pid_t process);

}  // namespace soak
