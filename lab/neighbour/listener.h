// The listening side of a neighbour: takes the change-status and expire datagrams that a controller sends on
// connections of its own. Used by listen and watch.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "cbase/descriptor.h"
#include "neighbour/settings.h"
#include "neighbour/tls.h"

namespace neighbour {

class Listener {
  public:
    // Listens on all addresses; port 0 takes a free one. Nothing on failure, with the reason in `problem`.
    static std::optional<Listener> open(std::uint16_t port, const TlsSettings& tls, std::string& problem);

    // Readable (as poll(2) says) when a controller has connected.
    int descriptor() const { return _descriptor.get(); }
    std::uint16_t port() const { return _port; }

    // Takes the connection that waits, reads its datagram until the peer closes or `timeout` is over. What came before
    // a failure is returned all the same, with the reason in `problem`; empty when nothing came.
    std::string receive(std::chrono::milliseconds timeout, std::string& problem) const;

  private:
    Listener(Descriptor descriptor, std::uint16_t port, ContextPointer context)
        : _descriptor(std::move(descriptor)), _port(port), _context(std::move(context)) {}

    Descriptor _descriptor;
    std::uint16_t _port;
    ContextPointer _context;  // null: plain TCP
};

}  // namespace neighbour
