// A service inside a process: one thread that takes one request per connection. For tests and fuzz targets that stand
// in for the controller's services where they run themselves; the lab's own services have the TextServer.
#pragma once

#include <functional>
#include <string>
#include <thread>

#include "cbase/descriptor.h"

namespace lab {

class RequestThread {
  public:
    // Whether what has come so far needs no more; asked before each receive.
    using Complete = std::function<bool(const std::string& received)>;
    // Sends what is to be said to `peer`, which stays the thread's; `request` may be cut when the client left early.
    using Reply = std::function<void(int peer, const std::string& request)>;

    // Serves until it is destroyed; takes over `listener`. Both functions are called by the thread.
    RequestThread(int listener, Complete complete, Reply reply);
    ~RequestThread();
    RequestThread(const RequestThread&) = delete;
    RequestThread& operator=(const RequestThread&) = delete;

    // Whether there was a listener to serve.
    bool listens() const { return listener_.valid(); }

  private:
    void serve();

    Descriptor listener_;
    Complete complete_;
    Reply reply_;
    std::thread thread_;
};

}  // namespace lab
