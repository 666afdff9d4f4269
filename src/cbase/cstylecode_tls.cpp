#include "cbase/cstylecode_tls.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "cbase/cstylecode_sockets.h"
#include "cbase/descriptor.h"
#include "cbase/logging.h"

namespace {

struct SslFree {
    void operator()(SSL* ssl) const { SSL_free(ssl); }
};
struct BioFree {
    void operator()(BIO* bio) const { BIO_free(bio); }
};
struct KeyFree {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};

SslContext new_context(const SSL_METHOD* method) {
    OPENSSL_init_ssl(0, nullptr);
    SslContext context(SSL_CTX_new(method));
    if (!context) {
        error("Cstylecode->init_SSLsocket_context error creating new context");
        return nullptr;
    }
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_NONE, verify_X509_certificate);
    // Each record comes back to the deadline: a peer could otherwise keep a read busy with records that carry no data.
    SSL_CTX_clear_mode(context.get(), SSL_MODE_AUTO_RETRY);
    return context;
}

// A key file that wants a passphrase has nobody to ask: it is a key that cannot be used.
int no_passphrase(char* /*buffer*/, int /*size*/, int /*writing*/, void* /*data*/) {
    return -1;
}

// Reads the key file by itself, so that a bad key is told from a key of another certificate.
std::unique_ptr<EVP_PKEY, KeyFree> read_key(const char* path) {
    const std::unique_ptr<BIO, BioFree> file(BIO_new_file(path, "r"));
    if (!file) return nullptr;
    return std::unique_ptr<EVP_PKEY, KeyFree>(PEM_read_bio_PrivateKey(file.get(), nullptr, no_passphrase, nullptr));
}

bool load_identity(SSL_CTX* context, const char* certificateFile, const char* keyFile) {
    if (SSL_CTX_use_certificate_chain_file(context, certificateFile) != 1) {
        error("Cstylecode->init_SSLsocket_context certificate file at path <%s> is not valid", certificateFile);
        return false;
    }
    const auto key = read_key(keyFile);
    if (!key) {
        error("Cstylecode->init_SSLsocket_context private key at path <%s> is not valid", keyFile);
        return false;
    }
    if (SSL_CTX_use_PrivateKey(context, key.get()) != 1 || SSL_CTX_check_private_key(context) != 1) {
        error("Cstylecode->init_SSLsocket_context private key at path <%s> does not match the certificate at path <%s>",
              keyFile, certificateFile);
        return false;
    }
    return true;
}

// Runs one OpenSSL operation on a non-blocking connection until it is through or the deadline has passed, waiting for
// the socket when it asks to. Returns the operation's last result; errno tells what ended it.
template <class Operation>
int run_until_done(SSL* ssl, timedio::Deadline deadline, const Operation& operation) {
    for (;;) {
        ERR_clear_error();
        errno = 0;
        const int result = operation();
        if (result > 0) return result;
        const int reason = SSL_get_error(ssl, result);
        short events = 0;
        if (reason == SSL_ERROR_WANT_READ) events = POLLIN;
        if (reason == SSL_ERROR_WANT_WRITE) events = POLLOUT;
        if (events == 0 && errno == 0) errno = EPROTO;
        if (events == 0 || !timedio::wait_for(SSL_get_fd(ssl), events, deadline)) return result;
    }
}

// A session on `context`, bound to `fd`; null on failure.
std::unique_ptr<SSL, SslFree> new_session(SSL_CTX* context, int fd) {
    std::unique_ptr<SSL, SslFree> session(SSL_new(context));
    if (session && SSL_set_fd(session.get(), fd) != 1) session.reset();
    if (!session) errno = ENOMEM;
    return session;
}

// Hands a connection without a session to the caller, or closes it when the caller does not take it.
void hand_out(Descriptor fd, int* receiver) {
    const int reason = errno;
    if (receiver != nullptr) {
        *receiver = fd.release();
    } else {
        timedio::close_connection(fd.release());
    }
    errno = reason;
}

}  // namespace

SSL_CTX* init_SSLsocket_client_context() {
    return new_context(TLS_client_method()).release();
}

SSL_CTX* init_SSLsocket_server_context(const char* certificateFile, const char* keyFile) {
    SslContext context = new_context(TLS_method());
    if (!context) return nullptr;
    // Neighbours resume with tickets, which cost no memory here; the cache serves the few that cannot.
    constexpr long cachedSessions = 32;
    SSL_CTX_sess_set_cache_size(context.get(), cachedSessions);
    if (!load_identity(context.get(), certificateFile, keyFile)) {
        ERR_clear_error();
        return nullptr;
    }
    return context.release();
}

int verify_X509_certificate(int /*preverified*/, X509_STORE_CTX* /*store*/) {
    return 1;
}

int connect_SSLsocket(int fd, SSL_CTX* context, SSL** ssl, timedio::Deadline deadline) {
    *ssl = nullptr;
    if (context == nullptr) {
        error("Cstylecode->connect_SSLsocket SSL context is NULL");
        errno = EINVAL;
        return -1;
    }
    auto session = new_session(context, fd);
    if (!session) {
        error("Cstylecode->connect_SSLsocket creation of SSL section failed");
        return -1;
    }
    const int result = run_until_done(session.get(), deadline, [&session] { return SSL_connect(session.get()); });
    if (result != 1) {
        error("Cstylecode->connect_SSLsocket SSL accept failed with error '%d' for pid=%i",
              SSL_get_error(session.get(), result), getpid());
        return -1;
    }
    *ssl = session.release();
    return fd;
}

int make_internettcpclient_SSLsocket(SSL_CTX* context, const char* ip, int port, SSL** ssl, int* connectedFd,
                                     std::chrono::milliseconds timeout) {
    *ssl = nullptr;
    if (connectedFd != nullptr) *connectedFd = -1;
    if (context == nullptr) {
        error("Cstylecode->make_internettcpclient_SSLsocket SSL context is NULL");
        errno = EINVAL;
        return -1;
    }
    const auto deadline = timedio::deadline_in(timeout);
    Descriptor fd(make_internettcpclient_socket(ip, port, timeout));
    if (!fd.valid()) {
        error("Cstylecode->make_internettcpclient_SSLsocket error creating socket");
        return -1;
    }
    if (connect_SSLsocket(fd.get(), context, ssl, deadline) < 0) {
        error("Cstylecode->make_internettcpclient_SSLsocket error connecting to SSL socket");
        hand_out(std::move(fd), connectedFd);
        return -1;
    }
    return fd.release();
}

int accept_SSLsocket(int listeningFd, SSL_CTX* context, SSL** ssl, int* acceptedFd, std::chrono::milliseconds timeout) {
    *ssl = nullptr;
    if (acceptedFd != nullptr) *acceptedFd = -1;
    if (context == nullptr) error("Cstylecode->accept_SSLsocket SSL context is NULL");
    Descriptor fd(timedio::accept_connection(listeningFd));
    if (!fd.valid()) {
        error("Cstylecode->accept_SSLsocket accept error from socket <%d>", listeningFd);
        return -1;
    }
    if (context == nullptr) {
        errno = EINVAL;
        hand_out(std::move(fd), acceptedFd);
        return -1;
    }
    auto session = new_session(context, fd.get());
    if (!session) {
        error("Cstylecode->accept_SSLsocket creation of SSL section failed");
        hand_out(std::move(fd), acceptedFd);
        return -1;
    }
    const int on = 1;
    setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const int result =
        run_until_done(session.get(), timedio::deadline_in(timeout), [&session] { return SSL_accept(session.get()); });
    if (result != 1) {
        const int reason = errno;
        const int code = SSL_get_error(session.get(), result);
        char text[256];
        ERR_error_string_n(ERR_get_error(), text, sizeof text);
        error("Cstylecode->accept_SSLsocket SSL accept failed with error '%d'->'%s', errno '%d'->'%s', for pid=%i",
              code, text, reason, strerror(reason), getpid());
        errno = reason;
        hand_out(std::move(fd), acceptedFd);
        return -1;
    }
    // With a resumed session the neighbour speaks last in the handshake and first after it, and holds the request back
    // until the handshake's end is acknowledged: acknowledge at once instead of 40 ms later.
    setsockopt(fd.get(), IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
    *ssl = session.release();
    return fd.release();
}

int read_SSLsocket(SSL* ssl, void* buffer, int size, timedio::Deadline deadline) {
    const int result = run_until_done(ssl, deadline, [=] { return SSL_read(ssl, buffer, size); });
    if (result > 0) return result;
    const int reason = errno;
    const int code = SSL_get_error(ssl, result);
    const bool ended =
        code == SSL_ERROR_ZERO_RETURN ||
        (code == SSL_ERROR_SSL && ERR_GET_REASON(ERR_peek_error()) == SSL_R_UNEXPECTED_EOF_WHILE_READING);
    ERR_clear_error();
    errno = reason;
    return ended ? 0 : -1;
}

int write_SSLsocket(SSL* ssl, const void* data, int size, timedio::Deadline deadline) {
    const int result = run_until_done(ssl, deadline, [=] { return SSL_write(ssl, data, size); });
    const int reason = errno;
    ERR_clear_error();
    errno = reason;
    return result > 0 ? result : -1;
}
