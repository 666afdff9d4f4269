// The lab's listeners and its connections on this machine. All are close-on-exec. Functions that take a `problem`
// return no descriptor on failure and leave the reason there.
#pragma once

#include <cstdint>
#include <string>

#include "cbase/descriptor.h"

namespace lab {

// A non-blocking listener on `port` (0: a free one), for this machine only or for everyone.
enum class Reach { thisMachine, everyone };
Descriptor listen_on_port(uint16_t port, Reach reach, std::string& problem);
// The port that a socket is bound to.
uint16_t port_of(const Descriptor& fd);
// A socket of a type (SOCK_DGRAM, SOCK_STREAM with flags) bound to a Unix-domain path.
Descriptor bind_to_path(const std::string& path, int type, std::string& problem);
// A non-blocking listener on a Unix-domain path, made with its folders. A socket file that nobody listens on any more
// is replaced.
Descriptor listen_on_path(const std::string& path, std::string& problem);

// Begins to connect to 127.0.0.1; the descriptor is non-blocking and writable when it is connected. None on failure.
Descriptor start_connecting(uint16_t port);
Descriptor connect_to_path(const std::string& path, std::string& problem);

}  // namespace lab
