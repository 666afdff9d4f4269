// The sockets of the lab's services: listeners and connections on this machine only. All are close-on-exec.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "common/descriptor.h"

namespace lab {

// A non-blocking listener on 127.0.0.1. None on failure, the reason then in `problem`.
Descriptor listen_on_port(uint16_t port, std::string& problem);
// A non-blocking listener on a Unix-domain path, made with its folders. A socket file that nobody listens on any more
// is replaced. None on failure, the reason then in `problem`.
Descriptor listen_on_path(const std::string& path, std::string& problem);
// Begins to connect to 127.0.0.1; the descriptor is non-blocking and writable when it is connected.
Descriptor start_connecting(uint16_t port);
// Connects to a Unix-domain path; reading and writing give up after `limit`.
Descriptor connect_to_path(const std::string& path, std::chrono::seconds limit, std::string& problem);

}  // namespace lab
