#include "common/sockets.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>

namespace lab {

namespace {

constexpr int backlog = 256;

sockaddr_in loopback(uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

std::optional<sockaddr_un> local_address(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return std::nullopt;
    }
    std::memcpy(&address.sun_path, path.data(), path.size());
    return address;
}

template <typename Address>
int bind_to(int fd, const Address& address) {
    return ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);  // NOLINT(*-reinterpret-cast)
}

template <typename Address>
int connect_to(int fd, const Address& address) {
    return ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);  // NOLINT(*-reinterpret-cast)
}

Descriptor failed(std::string& problem, const std::string& what) {
    problem = what + ": " + std::generic_category().message(errno);
    return {};
}

}  // namespace

Descriptor listen_on_port(uint16_t port, std::string& problem) {
    const std::string what = "port " + std::to_string(port);
    Descriptor fd(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int on = 1;
    if (!fd || ::setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        bind_to(fd.get(), loopback(port)) != 0 || ::listen(fd.get(), backlog) != 0) {
        return failed(problem, what);
    }
    return fd;
}

Descriptor listen_on_path(const std::string& path, std::string& problem) {
    const auto address = local_address(path);
    if (!address) {
        errno = ENAMETOOLONG;
        return failed(problem, path);
    }
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    std::string unused;
    if (connect_to_path(path, std::chrono::seconds(1), unused)) {
        errno = EADDRINUSE;
        return failed(problem, path);
    }
    ::unlink(path.c_str());
    Descriptor fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!fd || bind_to(fd.get(), *address) != 0 || ::listen(fd.get(), backlog) != 0) {
        return failed(problem, path);
    }
    return fd;
}

Descriptor start_connecting(uint16_t port) {
    Descriptor fd(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!fd || (connect_to(fd.get(), loopback(port)) != 0 && errno != EINPROGRESS)) {
        return {};
    }
    return fd;
}

Descriptor connect_to_path(const std::string& path, std::chrono::seconds limit, std::string& problem) {
    const auto address = local_address(path);
    Descriptor fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval wait{limit.count(), 0};
    if (!address || !fd || ::setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait) != 0 ||
        ::setsockopt(fd.get(), SOL_SOCKET, SO_SNDTIMEO, &wait, sizeof wait) != 0 ||
        connect_to(fd.get(), *address) != 0) {
        return failed(problem, path);
    }
    return fd;
}

}  // namespace lab
