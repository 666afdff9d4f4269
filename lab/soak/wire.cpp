#include "wire.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <utility>

#include "neighbour/connection.h"

namespace soak {

namespace {

constexpr std::chrono::seconds patience{40};
constexpr std::size_t longestAnswer = 1U << 24U;

}  // namespace

neighbour::Descriptor connect_to(std::uint16_t port) {
    neighbour::Descriptor connection(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int on = 1;
    if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        setsockopt(connection.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on)) != 0)
        return {};
    return connection;
}

void reset(neighbour::Descriptor connection) {
    const linger atOnce{1, 0};
    setsockopt(connection.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
}

std::string exchange_plain(std::uint16_t port, std::string_view bytes) {
    std::string answer;
    neighbour::Descriptor descriptor = connect_to(port);
    if (!descriptor.valid()) return answer;
    const neighbour::Deadline deadline(patience);
    const int socket = descriptor.get();
    neighbour::Connection connection(std::move(descriptor), nullptr);
    connection.write(bytes, deadline);
    shutdown(socket, SHUT_WR);
    connection.readToEnd(answer, longestAnswer, deadline);
    return answer;
}

TlsWire::TlsWire(std::uint16_t port) : port_(port) {
    neighbour::TlsSettings settings;
    settings.version = "1.2";
    tls12_.context = neighbour::make_client_context(settings, problem_);
    settings.version = "1.3";
    tls13_.context = neighbour::make_client_context(settings, problem_);
}

TlsWire::Exchange TlsWire::exchange(std::string_view datagram, Ending ending) {
    Exchange result;
    constexpr unsigned ways = 4;
    const unsigned turn = turn_++ % ways;
    Way& way = turn % 2 == 0 ? tls13_ : tls12_;
    if (turn < 2) way.session.reset();

    neighbour::Descriptor descriptor = connect_to(port_);
    if (!descriptor.valid()) {
        result.problem = "no connection";
        return result;
    }
    const int socket = descriptor.get();
    const neighbour::Deadline deadline(patience);
    neighbour::Connection connection(std::move(descriptor), way.context.get());
    if (way.session) SSL_set_session(connection.tls(), way.session.get());
    result.handshaken = connection.connectTls(deadline);
    if (!result.handshaken) {
        result.problem = connection.problem();
        way.session.reset();
        return result;
    }
    if (datagram.empty()) {
        connection.sayGoodbye();
    } else if (!connection.write(datagram, deadline)) {
        result.problem = connection.problem();
    }
    if (ending == Ending::reset) {
        const linger atOnce{1, 0};
        setsockopt(socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
        way.session.reset();
        return result;
    }
    if (!connection.readToEnd(result.answer, longestAnswer, deadline)) result.problem = connection.problem();
    way.session.reset(SSL_get1_session(connection.tls()));
    connection.sayGoodbye();
    return result;
}

}  // namespace soak
