// Calls from the core to runners, one connection each. A runner serves one thing at a time and may itself be waiting
// for the core's reply, so a call is never made from within a request: it is queued, goes out on the loop's next turn,
// and is given up after some seconds. Calls to one runner go out one after the other, in order.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>

#include "cbase/descriptor.h"
#include "common/coremessage.h"
#include "common/eventloop.h"
#include "common/journal.h"

namespace lab {

class RunnerCalls {
  public:
    // Borrows both. `length_managed`: calls begin with their length line.
    RunnerCalls(EventLoop& loop, Journal& journal, bool length_managed)
        : loop_(loop), journal_(journal), length_managed_(length_managed) {}

    // Queues "CHANGESTATUS" of an object for the client browser's runner. Journals CALL when it was sent, and REPLY
    // with what came back ("no answer" too).
    void change_status(long runner_id, uint16_t port, long client_browser_id, long object_id);

  private:
    struct Call {
        long runner_id;
        CoreRequest request;
    };
    struct Line {  // the calls to one port; the front one is under way
        std::deque<Call> waiting;
        Descriptor fd;
        std::string text;
        size_t sent = 0;
        std::string reply;
        EventLoop::TimerId limit;
    };

    void begin(uint16_t port);
    void advance(uint16_t port);
    bool send_rest(Line& line, uint16_t port);
    void finish(uint16_t port, const std::string& outcome);

    EventLoop& loop_;
    Journal& journal_;
    bool length_managed_;
    std::map<uint16_t, Line> lines_;
};

}  // namespace lab
