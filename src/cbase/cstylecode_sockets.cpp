#include "cbase/cstylecode_sockets.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "cbase/descriptor.h"
#include "cbase/logging.h"
#include "cbase/timedio.h"

namespace {

constexpr int highestPort = 65535;

sockaddr_in internet_address(in_addr_t address, int port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = address;
    result.sin_port = htons(static_cast<std::uint16_t>(port));
    return result;
}

struct LocalAddress {
    sockaddr_un address{};
    socklen_t length = 0;

    explicit LocalAddress(const char* path) {
        address.sun_family = AF_UNIX;
        const std::size_t pathLength = strnlen(path, sizeof address.sun_path - 1);
        std::memcpy(address.sun_path, path, pathLength);
        length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + pathLength);
    }
};

// The socket functions take every address family through the same pointer type.
template <class Address>
const sockaddr* generic(const Address* address) {
    return reinterpret_cast<const sockaddr*>(address);
}

bool set_option(int fd, int level, int name, const void* value, socklen_t size) {
    return setsockopt(fd, level, name, value, size) == 0;
}

bool allow_reuse(int fd) {
    const int on = 1;
    return set_option(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
}

// A port out of range must fail, not wrap round to one that exists.
bool bind_to_port(int fd, int port) {
    if (port < 0 || port > highestPort) {
        errno = EINVAL;
        return false;
    }
    const sockaddr_in address = internet_address(htonl(INADDR_ANY), port);
    return bind(fd, generic(&address), sizeof address) == 0;
}

// Connects a socket; with a time-out above zero the socket becomes non-blocking and stays so.
bool connect_within(int fd, const sockaddr_in& address, std::chrono::milliseconds timeout) {
    const bool bounded = timeout > std::chrono::milliseconds::zero();
    if (bounded) {
        // Over TLS the request follows the handshake's last message: nothing is gained by holding it back until the
        // peer acknowledges that one. Local services get one write on a fresh connection and need nothing of the kind.
        const int on = 1;
        set_option(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        if (!timedio::make_nonblocking(fd)) return false;
    }
    if (connect(fd, generic(&address), sizeof address) == 0) return true;
    if (!bounded || errno != EINPROGRESS) return false;
    if (!timedio::wait_for(fd, POLLOUT, timedio::deadline_in(timeout))) {
        if (errno == EAGAIN) errno = ETIMEDOUT;
        return false;
    }
    int failure = 0;
    socklen_t size = sizeof failure;
    if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &failure, &size) != 0) return false;
    errno = failure;
    return failure == 0;
}

}  // namespace

int make_internet_socket(int port, int backlog) {
    Descriptor fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd.valid()) {
        error("Cstylecode->make_internet_socket socket failed with error '%s' for pid=%i", strerror(errno), getpid());
        return -1;
    }
    if (!allow_reuse(fd.get())) {
        error("Cstylecode->make_internet_socket setsockopt failed with error '%s'", strerror(errno));
        return -1;
    }
    if (!bind_to_port(fd.get(), port)) {
        error("Cstylecode->make_internet_socket bind failed with error '%s'", strerror(errno));
        return -1;
    }
    if (listen(fd.get(), backlog) != 0) {
        error("Cstylecode->make_internet_socket listen failed with error '%s'", strerror(errno));
        return -1;
    }
    return fd.release();
}

int make_internet_socket_randomport(int* port, int backlog) {
    Descriptor fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd.valid()) {
        error("Cstylecode->make_internet_socket_randomport socket failed with error '%s' for pid=%i", strerror(errno),
              getpid());
        return -1;
    }
    if (!allow_reuse(fd.get())) {
        error("Cstylecode->make_internet_socket_randomport setsockopt failed with error '%s'", strerror(errno));
        return -1;
    }
    if (!bind_to_port(fd.get(), 0)) {
        error("Cstylecode->make_internet_socket_randomport bind failed with error '%s'", strerror(errno));
        return -1;
    }
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (getsockname(fd.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        error("Cstylecode->make_internet_socket_randomport getsockname failed with error '%s'", strerror(errno));
        return -1;
    }
    const int chosen = ntohs(address.sin_port);
    if (chosen < 1) {
        error("Cstylecode->make_internet_socket_randomport port chosen is invalid '%d'", chosen);
        return -1;
    }
    *port = chosen;
    if (listen(fd.get(), backlog) != 0) {
        error("Cstylecode->make_internet_socket_randomport listen failed with error '%s'", strerror(errno));
        return -1;
    }
    return fd.release();
}

int make_local_socket(const char* path, int backlog) {
    Descriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd.valid()) {
        error("Cstylecode->make_local_socket socket failed with error '%s' for pid=%i", strerror(errno), getpid());
        return -1;
    }
    const LocalAddress local(path);
    unlink(local.address.sun_path);
    if (bind(fd.get(), generic(&local.address), local.length) != 0) {
        error("Cstylecode->make_local_socket bind failed with error '%s'", strerror(errno));
        return -1;
    }
    if (chmod(local.address.sun_path, S_IRWXU | S_IRWXG | S_IRWXO) != 0) {
        error("Cstylecode->make_local_socket chmod failed with error '%s'", strerror(errno));
        return -1;
    }
    if (listen(fd.get(), backlog) != 0) {
        error("Cstylecode->make_local_socket listen failed with error '%s'", strerror(errno));
        return -1;
    }
    return fd.release();
}

int make_internettcpclient_socket(const char* ip, int port, std::chrono::milliseconds timeout) {
    Descriptor fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd.valid()) {
        error("Cstylecode->make_internettcpclient_socket socket failed with error '%s' for pid=%i", strerror(errno),
              getpid());
        return -1;
    }
    const bool portValid = port >= 0 && port <= highestPort;
    if (!portValid) errno = EINVAL;
    if (!portValid || !connect_within(fd.get(), internet_address(inet_addr(ip), port), timeout)) {
        const int reason = errno;
        error("Cstylecode->make_internettcpclient_socket connect failed with error '%s' for pid=%i", strerror(reason),
              getpid());
        fd.reset();
        errno = reason;
        return -1;
    }
    return fd.release();
}

int make_localtcpclient_socket(const char* path) {
    Descriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd.valid()) {
        error("Cstylecode->make_localtcpclient_socket socket failed with error '%s' for pid=%i", strerror(errno),
              getpid());
        return -1;
    }
    const LocalAddress local(path);
    if (connect(fd.get(), generic(&local.address), local.length) != 0) {
        error("Cstylecode->make_localtcpclient_socket connect failed with error '%s' for pid=%i", strerror(errno),
              getpid());
        return -1;
    }
    return fd.release();
}

int make_localudpclient_socket_incoming(const char* group, int port) {
    Descriptor fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!fd.valid()) {
        error("Cstylecode->make_localudpclient_socket_incoming socket with error '%s' for pid=%i", strerror(errno),
              getpid());
        return -1;
    }
    if (!allow_reuse(fd.get())) {
        error("Cstylecode->make_localudpclient_socket error in reuseaddr setsockopt: '%s'", strerror(errno));
        return -1;
    }
    if (!bind_to_port(fd.get(), port)) {
        error("Cstylecode->make_localudpclient_socket bind failed with error '%s'", strerror(errno));
        return -1;
    }
    ip_mreq membership{};
    membership.imr_multiaddr.s_addr = inet_addr(group);
    membership.imr_interface.s_addr = htonl(INADDR_ANY);
    if (!set_option(fd.get(), IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership)) {
        error("Cstylecode->make_localudpclient_socket error joining multicast: '%s'", strerror(errno));
        return -1;
    }
    return fd.release();
}

int make_localudpclient_socket_outgoing(const char* /*group*/, int /*port*/, unsigned char ttl, int loop) {
    Descriptor fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!fd.valid()) {
        error("Cstylecode->make_localudpclient_socket_outgoing socket with error '%s' for pid=%i", strerror(errno),
              getpid());
        return -1;
    }
    if (!bind_to_port(fd.get(), 0)) {
        error("Cstylecode->make_localudpclient_socket_outgoing bind with error '%s'", strerror(errno));
        return -1;
    }
    in_addr interface {};
    interface.s_addr = htonl(INADDR_ANY);
    const unsigned char looped = loop != 0 ? 1 : 0;
    if (!set_option(fd.get(), IPPROTO_IP, IP_MULTICAST_IF, &interface, sizeof interface) ||
        !set_option(fd.get(), IPPROTO_IP, IP_MULTICAST_TTL, &ttl, sizeof ttl) ||
        !set_option(fd.get(), IPPROTO_IP, IP_MULTICAST_LOOP, &looped, sizeof looped)) {
        error("Cstylecode->make_localudpclient_socket_outgoing setsockopt with error '%s'", strerror(errno));
        return -1;
    }
    return fd.release();
}
