// Reading and writing on connections. With a deadline, so that no peer can hold the one thread of the process: for
// connections that neighbours and core callers opened, and for connections to neighbours. Without one for the local
// services, which are waited for.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <string>

namespace timedio {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

// How long a peer may stay silent, or not read, in all.
inline constexpr std::chrono::seconds peerTimeout{30};

inline Deadline deadline_in(std::chrono::milliseconds time) {
    return Clock::now() + time;
}

// Makes `fd` non-blocking, as connecting and TLS need for a deadline to hold. False with errno set on failure.
bool make_nonblocking(int fd);

// Waits until `fd` is ready for `events` (POLLIN, POLLOUT). False with errno set: EAGAIN when the deadline passed.
// A signal does not end the wait.
bool wait_for(int fd, short events, Deadline deadline);

// One receive of at most `size` bytes: the number of bytes, 0 when the peer has shut down, -1 with errno set.
ssize_t receive(int fd, void* buffer, std::size_t size, Deadline deadline);

// Sends all `size` bytes: `size`, or -1 with errno set (EAGAIN when the peer has not taken them by the deadline).
ssize_t send_all(int fd, const void* data, std::size_t size, Deadline deadline);

// Accepts a connection: its descriptor, non-blocking and closed on exec, or -1 with errno set. Pauses for a moment when
// the system is out of descriptors or memory: the connection stays in the queue and would wake the loop at once again.
int accept_connection(int listener);

// Sends all of `text` on a blocking socket, without a time-out. False with errno set on failure.
bool send_blocking(int fd, const std::string& text);
// One receive on a blocking socket, without a time-out: bytes, 0 at the end, -1 with errno set. Signals do not end it.
ssize_t receive_blocking(int fd, void* buffer, std::size_t size);

// Discards what the peer has sent so far, without waiting for more: closing a socket with unread bytes in it resets the
// connection, and a reset can destroy what was just written before the peer has read it.
void drain(int fd);

// Drains `fd`, shuts it down in both directions and closes it. Nothing happens for a negative descriptor.
void close_connection(int fd);

}  // namespace timedio
