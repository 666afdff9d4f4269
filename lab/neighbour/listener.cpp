#include "listener.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "connection.h"

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
    Descriptor descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int on = 1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    socklen_t size = sizeof(address);
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (!descriptor.valid() || setsockopt(descriptor.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) < 0 ||
        bind(descriptor.get(), generic, size) < 0 || listen(descriptor.get(), SOMAXCONN) < 0 ||
        getsockname(descriptor.get(), generic, &size) < 0) {
        problem = "cannot listen on port " + std::to_string(port) + ": " + std::strerror(errno);
        return std::nullopt;
    }
    return Listener(std::move(descriptor), ntohs(address.sin_port), std::move(context));
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
