// Serves a text protocol of one request and one answer per connection, for DBManager and FSMCore alike. It gathers a
// request however many pieces it comes in, carries out the faults that concern the connection, and never lets one
// client hold up another.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "common/descriptor.h"
#include "common/eventloop.h"
#include "common/faults.h"

namespace lab {

class TextServer {
  public:
    // True when what has come so far is all of a request (a malformed one that will not get better included).
    using Complete = std::function<bool(std::string_view received)>;
    // Carries out a request, with the fault's wrong_length, sql_error or status where they apply; returns the answer.
    using Answer = std::function<std::string(const std::string& request, const Fault& fault)>;
    // Sees every complete request first, also those that a fault then leaves undone.
    using Seen = std::function<void(const std::string& request)>;

    // Takes over `listener`; borrows `loop` and `faults`, which must live longer.
    TextServer(EventLoop& loop, Descriptor listener, FaultPlan& faults, Complete complete, Seen seen, Answer answer);
    ~TextServer();
    TextServer(const TextServer&) = delete;
    TextServer& operator=(const TextServer&) = delete;
    TextServer(TextServer&&) = delete;
    TextServer& operator=(TextServer&&) = delete;

  private:
    enum class State { reading, delayed, writing, stalled };
    struct Connection {
        Descriptor fd;
        State state = State::reading;
        EventLoop::Clock::time_point since = EventLoop::Clock::now();
        std::string received;
        Fault fault;
        std::string answer;
        size_t sent = 0;
    };

    void accept_all();
    void serve(uint64_t id, uint32_t events);
    void read_request(uint64_t id, Connection& connection);
    void take_request(uint64_t id, Connection& connection);
    void make_answer(uint64_t id, Connection& connection);
    void write_answer(uint64_t id, Connection& connection);
    void end(uint64_t id);
    void drop_silent();

    EventLoop& loop_;
    Descriptor listener_;
    FaultPlan& faults_;
    Complete complete_;
    Seen seen_;
    Answer answer_;
    uint64_t last_id_ = 0;
    std::unordered_map<uint64_t, Connection> connections_;
    bool sweeping_ = false;
};

}  // namespace lab
