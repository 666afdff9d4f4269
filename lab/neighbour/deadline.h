// A point in time by which something must be done; every wait of an exchange is measured against one deadline, so that
// a peer that sends a byte now and then cannot stretch it.
#pragma once

#include <algorithm>
#include <chrono>
#include <limits>

namespace neighbour {

class Deadline {
  public:
    using Clock = std::chrono::steady_clock;

    explicit Deadline(std::chrono::milliseconds from_now) : _end(Clock::now() + from_now) {}

    bool passed() const { return Clock::now() >= _end; }

    // Milliseconds left, as poll(2) takes them; never negative, which poll would take for "for ever".
    int left() const {
        const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(_end - Clock::now()).count();
        return static_cast<int>(std::clamp<decltype(milliseconds)>(milliseconds, 0, std::numeric_limits<int>::max()));
    }

  private:
    Clock::time_point _end;
};

}  // namespace neighbour
