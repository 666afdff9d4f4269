#include "cbase/timedio.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace timedio {

bool make_nonblocking(int fd) {
    const int flags = fcntl(fd, F_GETFL, 0);
    return flags >= 0 && fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0;
}

bool wait_for(int fd, short events, Deadline deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd watched{fd, events, 0};
        const int ready = poll(&watched, 1, static_cast<int>(std::clamp<long long>(left, 0, 3600LL * 1000)));
        if (ready < 0 && errno != EINTR) return false;
        // Past the deadline it does not help to be ready: a peer that never stops sending must not be served for ever.
        if (left <= 0) {
            errno = EAGAIN;
            return false;
        }
        if (ready > 0) return true;
    }
}

ssize_t receive(int fd, void* buffer, std::size_t size, Deadline deadline) {
    for (;;) {
        if (!wait_for(fd, POLLIN, deadline)) return -1;
        const ssize_t received = recv(fd, buffer, size, MSG_DONTWAIT);
        if (received >= 0 || (errno != EAGAIN && errno != EINTR)) return received;
    }
}

ssize_t send_all(int fd, const void* data, std::size_t size, Deadline deadline) {
    const char* rest = static_cast<const char*>(data);
    std::size_t left = size;
    while (left > 0) {
        const ssize_t sent = send(fd, rest, left, MSG_DONTWAIT);
        if (sent >= 0) {
            rest += sent;
            left -= static_cast<std::size_t>(sent);
        } else if (errno == EAGAIN) {
            if (!wait_for(fd, POLLOUT, deadline)) return -1;
        } else if (errno != EINTR) {
            return -1;
        }
    }
    return static_cast<ssize_t>(size);
}

int accept_connection(int listener) {
    constexpr int pause = 100;  // milliseconds
    const int fd = accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0 && (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM)) {
        const int reason = errno;
        poll(nullptr, 0, pause);
        errno = reason;
    }
    return fd;
}

bool send_blocking(int fd, const std::string& text) {
    for (std::size_t sent = 0; sent < text.size();) {
        const ssize_t count = send(fd, text.data() + sent, text.size() - sent, 0);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

ssize_t receive_blocking(int fd, void* buffer, std::size_t size) {
    for (;;) {
        const ssize_t received = recv(fd, buffer, size, 0);
        if (received >= 0 || errno != EINTR) return received;
    }
}

void drain(int fd) {
    constexpr int mostReads = 64;  // a peer that keeps sending is not waited for
    char discarded[16384];
    for (int i = 0; i < mostReads; ++i) {
        if (recv(fd, discarded, sizeof discarded, MSG_DONTWAIT) <= 0) return;
    }
}

void close_connection(int fd) {
    if (fd < 0) return;
    drain(fd);
    shutdown(fd, SHUT_RDWR);
    close(fd);
}

}  // namespace timedio
