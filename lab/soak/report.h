// The table at the end of a soak, and the verdict on it.
#pragma once

#include <chrono>

#include "load.h"
#include "process.h"

namespace soak {

struct Course {
    Footprint start;     // before the load
    Footprint warm;      // after the warm-up
    Footprint end;       // at rest after the load
    long warmAfter = 0;  // datagrams
    std::chrono::milliseconds time{0};
    long notifications = 0;
    long badNotifications = 0;
    bool ended = false;  // the program did, before the load
};

// Growth after the warm-up that counts as noise of the allocator.
constexpr long tolerableGrowthKilobytes = 256;

// Prints the table; true when nothing is wrong.
bool report(const Load& load, const Course& course);

}  // namespace soak
