#include "neighbour/listener.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "common/sockets.h"
#include "neighbour/connection.h"

namespace neighbour {
namespace {

constexpr std::size_t longestDatagram = 64UL * 1024 * 1024;

}  // namespace

std::optional<Listener> Listener::open(std::uint16_t port, const TlsSettings& tls, std::string& problem) {
    ContextPointer context;
    if (tls.enabled) {
        context = make_server_context(tls, problem);
        if (!context) return std::nullopt;
    }
    Descriptor descriptor = lab::listen_on_port(port, lab::Reach::everyone, problem);
    if (!descriptor.valid()) return std::nullopt;
    const std::uint16_t bound = lab::port_of(descriptor);
    return Listener(std::move(descriptor), bound, std::move(context));
}

std::string Listener::receive(std::chrono::milliseconds timeout, std::string& problem) const {
    problem.clear();
    Descriptor accepted(accept4(_descriptor.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!accepted.valid()) {
        // The peer may have gone between poll and here.
        if (errno != EAGAIN) problem = std::strerror(errno);
        return {};
    }
    const Deadline deadline(timeout);
    Connection connection(std::move(accepted), _context.get());
    std::string datagram;
    if (!connection.acceptTls(deadline) || !connection.readToEnd(datagram, longestDatagram, deadline)) {
        problem = connection.problem();
    }
    connection.sayGoodbye();
    return datagram;
}

}  // namespace neighbour
