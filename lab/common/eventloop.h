// One thread's event loop over epoll: descriptors with a callback, timers, and the signals that end a service.
// DBManager and FSMCore each run one; nothing in them ever waits anywhere else.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <unordered_map>
#include <utility>

#include "cbase/descriptor.h"

namespace lab {

class EventLoop {
  public:
    using Clock = std::chrono::steady_clock;
    using Ready = std::function<void(uint32_t events)>;
    using TimerId = std::pair<Clock::time_point, uint64_t>;

    // SIGTERM and SIGINT end run(); SIGPIPE is ignored. Both for the whole process, so make one loop per process.
    EventLoop();

    // Calls `ready` with the EPOLL... bits whenever `fd` has any of `events`. Borrows `fd`: unwatch() before closing
    // it.
    void watch(int fd, uint32_t events, Ready ready);
    // Changes the events that a watched descriptor waits for; 0 leaves only errors and the peer's end.
    void change(int fd, uint32_t events);
    void unwatch(int fd);

    // Calls `due` once, in `delay` or later.
    TimerId after(std::chrono::milliseconds delay, std::function<void()> due);
    void cancel(const TimerId& timer);

    // `ended` is called for every SIGCHLD (several ends may be reported as one).
    void on_child_ended(std::function<void()> ended);
    // `stopping` is called when a signal asks the service to end; without one, run() returns at once.
    void on_stop(std::function<void()> stopping);

    void run();
    void stop() { running_ = false; }

  private:
    struct Watch {
        uint32_t generation;
        std::shared_ptr<Ready> ready;
    };

    int until_next_timer() const;
    void run_due_timers();
    void take_signals();

    Descriptor epoll_;
    Descriptor signals_;
    bool running_ = true;
    uint32_t generation_ = 0;
    uint64_t last_timer_ = 0;
    std::unordered_map<int, Watch> watches_;
    std::map<TimerId, std::function<void()>> timers_;
    std::function<void()> child_ended_;
    std::function<void()> stopping_;
};

}  // namespace lab
