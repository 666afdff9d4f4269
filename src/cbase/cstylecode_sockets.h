// Every socket that the process uses, one function per kind. Each returns the descriptor, or -1 after logging the
// failure and closing what it had opened; the caller owns and closes the descriptor. Log lines begin with
// "Cstylecode->".
#pragma once

#include <chrono>

// IPv4 stream listener on any address and `port` (0 to 65535). `backlog` is the queue of pending connections.
int make_internet_socket(int port, int backlog);
// The same on a free port that the system picks; it is stored in `*port` once it is known to be at least 1.
int make_internet_socket_randomport(int* port, int backlog);
// Unix-domain stream listener at `path`, which any local user may connect to. A file at `path` is removed first; a path
// of 108 characters or more is cut to 107.
int make_local_socket(const char* path, int backlog);

// IPv4 stream connection to the dotted address `ip` and `port` (0 to 65535). With a time-out above zero the connect
// gives up after that time and the socket stays non-blocking, for use with timedio; zero connects and stays blocking.
int make_internettcpclient_socket(const char* ip, int port,
                                  std::chrono::milliseconds timeout = std::chrono::milliseconds::zero());
// Unix-domain stream connection to `path` (same bound as make_local_socket).
int make_localtcpclient_socket(const char* path);

// UDP socket that receives the multicast `group` on `port`, joined on the default interface.
int make_localudpclient_socket_incoming(const char* group, int port);
// UDP socket for sending to a multicast group: time to live `ttl` hops, looped back to this host when `loop` is not 0.
// Group and port are given again with each datagram sent, so the set-up does not use them.
int make_localudpclient_socket_outgoing(const char* group, int port, unsigned char ttl, int loop);
