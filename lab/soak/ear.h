// Takes the notifications that the program sends to its neighbour, in a thread of its own: the program waits for it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "neighbour/listener.h"

namespace soak {

class Ear {
  public:
    // Null when `port` cannot be listened on, with the reason in `problem`.
    static std::unique_ptr<Ear> open(std::uint16_t port, std::string& problem);
    ~Ear();
    Ear(const Ear&) = delete;
    Ear& operator=(const Ear&) = delete;
    Ear(Ear&&) = delete;
    Ear& operator=(Ear&&) = delete;

    // Whole change-status datagrams, and everything else that came.
    long heard() const { return heard_; }
    long bad() const { return bad_; }

  private:
    explicit Ear(neighbour::Listener listener);
    void listen();

    neighbour::Listener listener_;
    std::atomic<bool> stopping_{false};
    std::atomic<long> heard_{0};
    std::atomic<long> bad_{0};
    std::thread thread_;
};

}  // namespace soak
