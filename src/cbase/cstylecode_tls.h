// TLS contexts and TLS connections over existing TCP connections. The protocol version is negotiated under the system's
// OpenSSL policy. Peers are not verified. Log lines begin with "Cstylecode->".
#pragma once

#include <openssl/ssl.h>
#include <sys/types.h>

#include <chrono>
#include <memory>

#include "cbase/timedio.h"

struct SslContextFree {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
using SslContext = std::unique_ptr<SSL_CTX, SslContextFree>;

// Context for outgoing connections, without certificate or key. Null after logging on failure; the caller frees it.
SSL_CTX* init_SSLsocket_client_context();
// Context for accepted connections, with the PEM certificate (chain) and private key at the two paths. Null after
// logging on failure; the caller frees it.
SSL_CTX* init_SSLsocket_server_context(const char* certificateFile, const char* keyFile);

// Verification callback: accepts every certificate.
int verify_X509_certificate(int preverified, X509_STORE_CTX* store);

// Makes a session on `context`, bound to `fd`, and runs the client's handshake before `deadline` (which needs a
// non-blocking `fd`). Returns `fd` with the session in `*ssl`, owned by the caller, or -1 with `*ssl` null and errno
// set. `fd` stays the caller's in both cases.
int connect_SSLsocket(int fd, SSL_CTX* context, SSL** ssl,
                      timedio::Deadline deadline = timedio::deadline_in(timedio::peerTimeout));

// Connects to `ip` and `port` and runs the handshake, both within `timeout`. Returns the descriptor, owned by the
// caller like the session in `*ssl`, or -1. A connection whose handshake failed is handed out in `*connectedFd` for the
// caller to close; without that argument it is closed here.
int make_internettcpclient_SSLsocket(SSL_CTX* context, const char* ip, int port, SSL** ssl, int* connectedFd = nullptr,
                                     std::chrono::milliseconds timeout = timedio::peerTimeout);

// Accepts a connection from the listener `listeningFd` and runs the server's handshake within `timeout`. Returns the
// descriptor, non-blocking and owned by the caller like the session in `*ssl`, or -1 with `*ssl` null. A connection
// that was accepted but got no session is handed out in `*acceptedFd` for the caller to close; without that argument it
// is closed here. A null context takes the connection off the queue all the same, so that it does not wake the loop
// again.
int accept_SSLsocket(int listeningFd, SSL_CTX* context, SSL** ssl, int* acceptedFd = nullptr,
                     std::chrono::milliseconds timeout = timedio::peerTimeout);

// One SSL_read of at most `size` bytes: the bytes of one record, 0 when the peer ended the session or the connection,
// -1 with errno set on error (EAGAIN past the deadline).
int read_SSLsocket(SSL* ssl, void* buffer, int size, timedio::Deadline deadline);
// One SSL_write of `size` bytes: `size`, or -1 with errno set (EAGAIN when the peer has not taken them by the
// deadline).
int write_SSLsocket(SSL* ssl, const void* data, int size, timedio::Deadline deadline);
