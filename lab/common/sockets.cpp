#include "common/sockets.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace lab {

namespace {

sockaddr_in internet_address(in_addr_t host, uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(host);
    return address;
}

// False, with errno set, when the path is too long to be one.
bool set_path(sockaddr_un& address, const std::string& path) {
    errno = ENAMETOOLONG;
    if (path.size() >= sizeof address.sun_path) return false;
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), &address.sun_path[0]);
    return true;
}

// bind(2) or connect(2) with an address of any kind.
template <typename Address>
bool succeeds(int (*call)(int, const sockaddr*, socklen_t), const Descriptor& fd, const Address& address) {
    return call(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

Descriptor failed(std::string& problem, const std::string& what) {
    problem = what + ": " + std::generic_category().message(errno);
    return {};
}

}  // namespace

Descriptor listen_on_port(uint16_t port, Reach reach, std::string& problem) {
    Descriptor fd(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int on = 1;
    const auto address = internet_address(reach == Reach::everyone ? INADDR_ANY : INADDR_LOOPBACK, port);
    if (!fd.valid() || ::setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        !succeeds(::bind, fd, address) || ::listen(fd.get(), SOMAXCONN) != 0)
        return failed(problem, "cannot listen on port " + std::to_string(port));
    return fd;
}

uint16_t port_of(const Descriptor& fd) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ::getsockname(fd.get(), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

Descriptor bind_to_path(const std::string& path, int type, std::string& problem) {
    sockaddr_un address{};
    Descriptor fd(::socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
    if (!fd.valid() || !set_path(address, path) || !succeeds(::bind, fd, address)) return failed(problem, path);
    return fd;
}

Descriptor listen_on_path(const std::string& path, std::string& problem) {
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    std::string unused;
    if (connect_to_path(path, unused).valid()) {
        errno = EADDRINUSE;
        return failed(problem, path);
    }
    std::filesystem::remove(path, ignored);
    Descriptor fd = bind_to_path(path, SOCK_STREAM | SOCK_NONBLOCK, problem);
    if (fd.valid() && ::listen(fd.get(), SOMAXCONN) != 0) return failed(problem, path);
    return fd;
}

Descriptor start_connecting(uint16_t port) {
    Descriptor fd(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!succeeds(::connect, fd, internet_address(INADDR_LOOPBACK, port)) && errno != EINPROGRESS) return {};
    return fd;
}

Descriptor connect_to_path(const std::string& path, std::string& problem) {
    sockaddr_un address{};
    Descriptor fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd.valid() || !set_path(address, path) || !succeeds(::connect, fd, address)) return failed(problem, path);
    return fd;
}

}  // namespace lab
