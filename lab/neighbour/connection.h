// One connection between two controllers, plain or TLS, in either role. It carries one datagram each way: write it
// whole, read until the other side closes. Every wait is bounded by the caller's deadline. Used to ask (exchange) and
// by the listener.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "cbase/descriptor.h"
#include "cbase/timedio.h"
#include "neighbour/settings.h"
#include "neighbour/tls.h"

namespace neighbour {

using ::Descriptor;

// The point in time by which a whole exchange must be done: a peer that sends a byte now and then cannot stretch it.
struct Deadline : timedio::Deadline {
    explicit Deadline(std::chrono::milliseconds fromNow) : time_point(timedio::deadline_in(fromNow)) {}
};

class Connection {
  public:
    // Takes over a connected descriptor and makes it non-blocking. The context is borrowed for the constructor only;
    // null means plain TCP.
    Connection(Descriptor descriptor, SSL_CTX* context);

    // The handshake, before anything else; true at once on a plain connection.
    bool connectTls(timedio::Deadline deadline) { return handshake(SSL_connect, deadline); }
    bool acceptTls(timedio::Deadline deadline) { return handshake(SSL_accept, deadline); }

    bool write(std::string_view data, timedio::Deadline deadline);
    // Appends what comes until the peer closes; false when it ended in another way or `limit` bytes have come. What
    // came before a failure is in `data` all the same.
    bool readToEnd(std::string& data, std::size_t limit, timedio::Deadline deadline);

    // Why the last operation returned false.
    const std::string& problem() const { return _problem; }
    // "plain", or as in "TLSv1.3, session resumed".
    std::string transport() const;
    SSL* tls() const { return _tls.get(); }

    // Tells the peer that the talk is over; the descriptor goes with the object.
    void sayGoodbye();

  private:
    bool handshake(int (*step)(SSL*), timedio::Deadline deadline);
    template <typename Step>
    int driveTls(Step step, timedio::Deadline deadline);
    // Bytes, 0 when the peer has closed, -1 after a failure.
    int read(char* buffer, std::size_t size, timedio::Deadline deadline);
    // Returns `good`; notes why a system call failed when it is false.
    bool checked(bool good);

    Descriptor _descriptor;
    TlsPointer _tls;
    std::string _problem;
};

struct Exchange {
    bool connected = false;  // and the handshake done
    std::string answer;      // what came back, possibly nothing
    std::string problem;     // why there is no connection, or why the answer ended early; empty when all went well
    std::string transport;
};

// Connects, writes the datagram, reads the answer until the peer closes. With a resume file the TLS session of the last
// exchange is offered, and the new one kept.
Exchange exchange(const Settings& settings, std::string_view datagram);

// The local address from which `host` is reached, as dotted text: what a peer there can call back. Empty when there
// is no way to it.
std::string address_towards(const std::string& host, std::uint16_t port);

}  // namespace neighbour
