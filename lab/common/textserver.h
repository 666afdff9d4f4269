// Serves a text protocol of one request and one answer per connection, for DBManager and FSMCore alike. It gathers a
// request however many pieces it comes in, carries out the faults that concern the connection, and never lets one
// client hold up another.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "cbase/descriptor.h"
#include "common/eventloop.h"
#include "common/faults.h"

namespace lab {

// What a service does with the requests that have come.
class TextService {
  public:
    TextService() = default;
    virtual ~TextService() = default;
    TextService(TextService&&) = delete;  // nor copied

    // True when what has come so far is all of a request (a malformed one that will not get better included).
    virtual bool complete(std::string_view received) const = 0;
    // Sees every complete request first, also those that a fault then leaves undone.
    virtual void note(const std::string& request) = 0;
    // Carries out a request, with the fault's wrong_length, sql_error or status where they apply; returns the answer.
    virtual std::string answer(const std::string& request, const Fault& fault) = 0;
};

class TextServer {
  public:
    // Takes over `listener`; borrows the others, which must live longer.
    TextServer(EventLoop& loop, Descriptor listener, FaultPlan& faults, TextService& service);
    ~TextServer();
    TextServer(TextServer&&) = delete;  // nor copied

  private:
    enum class State { reading, delayed, writing, stalled };
    struct Connection {
        Descriptor fd;
        State state = State::reading;
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

    EventLoop& loop_;
    Descriptor listener_;
    FaultPlan& faults_;
    TextService& service_;
    uint64_t last_id_ = 0;
    std::unordered_map<uint64_t, Connection> connections_;
};

}  // namespace lab
