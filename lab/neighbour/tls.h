// TLS contexts for both roles of the neighbour: asking (peers are not verified, as controllers do among each other) and
// listening (with a certificate from files, or one made on the spot). Used by the connection and the listener.
#pragma once

#include <openssl/ssl.h>

#include <memory>
#include <string>

#include "cbase/cstylecode_tls.h"
#include "neighbour/settings.h"

namespace neighbour {

struct FreeTls {
    void operator()(SSL* tls) const { SSL_free(tls); }
};
struct FreeSession {
    void operator()(SSL_SESSION* session) const { SSL_SESSION_free(session); }
};
using ContextPointer = SslContext;
using TlsPointer = std::unique_ptr<SSL, FreeTls>;
using SessionPointer = std::unique_ptr<SSL_SESSION, FreeSession>;

// Both return null on failure and leave the reason in `problem`.
ContextPointer make_client_context(const TlsSettings& settings, std::string& problem);
ContextPointer make_server_context(const TlsSettings& settings, std::string& problem);

// The session kept in a file, or null when there is none yet or it cannot be read.
SessionPointer load_session(const std::string& file);
// False when the file cannot be written. It is readable for its owner only: the keys are in it.
bool save_session(const std::string& file, SSL_SESSION* session);

// The oldest error that OpenSSL has queued in this thread, as text, and empties the queue.
std::string openssl_problem();

}  // namespace neighbour
