// The connections that the load is made of, to ports of this machine: a datagram over TLS with full and resumed
// handshakes of both versions in turn, and connections that end in all the ways that connections end.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "neighbour/connection.h"
#include "neighbour/tls.h"

namespace soak {

// A connection to 127.0.0.1; not valid when it is refused.
neighbour::Descriptor connect_to(std::uint16_t port);
// Closes with a reset instead of a farewell.
void reset(neighbour::Descriptor connection);
// Connects, writes `bytes`, reads until the other side closes: what came.
std::string exchange_plain(std::uint16_t port, std::string_view bytes);

class TlsWire {
  public:
    // How a conversation ends after the datagram was written.
    enum class Ending { readAnswer, reset };
    struct Exchange {
        bool handshaken = false;
        std::string answer;
        std::string problem;
    };

    // Test `problem()` afterwards.
    explicit TlsWire(std::uint16_t port);
    const std::string& problem() const { return problem_; }

    // One datagram; an empty one says goodbye right after the handshake.
    Exchange exchange(std::string_view datagram, Ending ending = Ending::readAnswer);

  private:
    // Used in turn: each version afresh, then each with the session of the time before.
    struct Way {
        neighbour::ContextPointer context;
        neighbour::SessionPointer session;
    };

    std::uint16_t port_;
    std::string problem_;
    Way tls12_;
    Way tls13_;
    unsigned turn_ = 0;
};

}  // namespace soak
