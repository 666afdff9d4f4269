#include "neighbour/connection.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace neighbour {
namespace {

constexpr std::size_t longestAnswer = 64UL * 1024 * 1024;

struct FreeAddresses {
    void operator()(addrinfo* addresses) const { freeaddrinfo(addresses); }
};
using Addresses = std::unique_ptr<addrinfo, FreeAddresses>;

Addresses resolve(const std::string& host, std::uint16_t port, int type, std::string& problem) {
    addrinfo hints{};
    hints.ai_socktype = type;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int code = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (code != 0) problem = host + ": " + gai_strerror(code);
    return Addresses(found);
}

// Waits for a connect that was begun; returns its errno.
int finish_connect(int descriptor, timedio::Deadline deadline) {
    if (!timedio::wait_for(descriptor, POLLOUT, deadline)) return errno == EAGAIN ? ETIMEDOUT : errno;
    int code = 0;
    socklen_t size = sizeof(code);
    getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &code, &size);
    return code;
}

Descriptor connect_to(const Settings& settings, timedio::Deadline deadline, std::string& problem) {
    const Addresses addresses = resolve(settings.host, settings.port, SOCK_STREAM, problem);
    for (const addrinfo* address = addresses.get(); address != nullptr; address = address->ai_next) {
        Descriptor descriptor(socket(address->ai_family, address->ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        int code = errno;
        if (descriptor.valid()) {
            code = connect(descriptor.get(), address->ai_addr, address->ai_addrlen) == 0 ? 0 : errno;
            if (code == EINPROGRESS) code = finish_connect(descriptor.get(), deadline);
        }
        if (code == 0) {
            // A request is written in one go and then waited on: nothing is gained by holding a segment back.
            const int on = 1;
            setsockopt(descriptor.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
            return descriptor;
        }
        problem = std::strerror(code);
    }
    return {};
}

// Where the callback for new sessions leaves the last one.
int keep_session(SSL* tls, SSL_SESSION* session) {
    auto* const kept = static_cast<SessionPointer*>(SSL_get_app_data(tls));
    if (kept == nullptr) return 0;
    kept->reset(session);
    return 1;  // the reference is ours now
}

}  // namespace

Connection::Connection(Descriptor descriptor, SSL_CTX* context) : _descriptor(std::move(descriptor)) {
    timedio::make_nonblocking(_descriptor.get());
    if (context == nullptr) return;
    _tls.reset(SSL_new(context));
    if (_tls) SSL_set_fd(_tls.get(), _descriptor.get());
}

bool Connection::checked(bool good) {
    if (!good) _problem = errno == EAGAIN ? "time is up" : std::strerror(errno);
    return good;
}

// Repeats one OpenSSL operation until it succeeds. Returns its positive result, 0 when the peer has closed, -1 after a
// failure.
template <typename Step>
int Connection::driveTls(Step step, timedio::Deadline deadline) {
    for (;;) {
        ERR_clear_error();
        errno = 0;
        const int result = step();
        const int systemError = errno;
        if (result > 0) return result;
        const int reason = SSL_get_error(_tls.get(), result);
        if (reason == SSL_ERROR_ZERO_RETURN) return 0;
        if (reason != SSL_ERROR_WANT_READ && reason != SSL_ERROR_WANT_WRITE) {
            _problem = reason != SSL_ERROR_SYSCALL ? openssl_problem()
                       : systemError == 0          ? "the peer closed the connection"
                                                   : std::strerror(systemError);
            return -1;
        }
        const short events = reason == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT;
        if (!checked(timedio::wait_for(_descriptor.get(), events, deadline))) return -1;
    }
}

bool Connection::handshake(int (*step)(SSL*), timedio::Deadline deadline) {
    if (!_tls) return true;
    const int result = driveTls([this, step] { return step(_tls.get()); }, deadline);
    if (result == 0) _problem = "the peer closed the connection";
    if (result <= 0) _problem = "TLS handshake: " + _problem;
    return result > 0;
}

bool Connection::write(std::string_view data, timedio::Deadline deadline) {
    if (_tls) {
        std::size_t written = 0;
        const auto step = [&] { return SSL_write_ex(_tls.get(), data.data(), data.size(), &written); };
        return data.empty() || driveTls(step, deadline) > 0;
    }
    while (!data.empty()) {
        const ssize_t sent = send(_descriptor.get(), data.data(), data.size(), MSG_NOSIGNAL);
        if (sent >= 0) {
            data.remove_prefix(static_cast<std::size_t>(sent));
        } else if (errno != EAGAIN || !timedio::wait_for(_descriptor.get(), POLLOUT, deadline)) {
            return checked(false);
        }
    }
    return true;
}

int Connection::read(char* buffer, std::size_t size, timedio::Deadline deadline) {
    if (_tls) return driveTls([&] { return SSL_read(_tls.get(), buffer, static_cast<int>(size)); }, deadline);
    const ssize_t got = timedio::receive(_descriptor.get(), buffer, size, deadline);
    checked(got >= 0);
    return static_cast<int>(got);
}

bool Connection::readToEnd(std::string& data, std::size_t limit, timedio::Deadline deadline) {
    std::array<char, 16384> buffer{};
    while (timedio::Clock::now() < deadline) {
        const int got = read(buffer.data(), buffer.size(), deadline);
        if (got <= 0) return got == 0;
        data.append(buffer.data(), static_cast<std::size_t>(got));
        if (data.size() > limit) {
            data.resize(limit);
            _problem = "cut after " + std::to_string(limit) + " bytes";
            return false;
        }
    }
    _problem = "time is up";
    return false;
}

std::string Connection::transport() const {
    if (!_tls) return "plain";
    return std::string(SSL_get_version(_tls.get())) +
           (SSL_session_reused(_tls.get()) == 1 ? ", session resumed" : ", full handshake");
}

void Connection::sayGoodbye() {
    if (_tls && SSL_is_init_finished(_tls.get()) == 1) SSL_shutdown(_tls.get());
    ERR_clear_error();
}

Exchange exchange(const Settings& settings, std::string_view datagram) {
    Exchange result;
    const Deadline deadline(settings.timeout());
    ContextPointer context;
    SessionPointer session;
    if (settings.tls.enabled) {
        context = make_client_context(settings.tls, result.problem);
        if (!context) return result;
        if (!settings.tls.resumeFile.empty()) {
            SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_CLIENT | SSL_SESS_CACHE_NO_INTERNAL_STORE);
            SSL_CTX_sess_set_new_cb(context.get(), keep_session);
        }
    }
    Descriptor descriptor = connect_to(settings, deadline, result.problem);
    if (!descriptor.valid()) return result;
    result.problem.clear();

    Connection connection(std::move(descriptor), context.get());
    if (connection.tls() != nullptr && !settings.tls.resumeFile.empty()) {
        SSL_set_app_data(connection.tls(), &session);
        const SessionPointer earlier = load_session(settings.tls.resumeFile);
        if (earlier) SSL_set_session(connection.tls(), earlier.get());
    }
    if (!connection.connectTls(deadline)) {
        result.problem = connection.problem();
        return result;
    }
    result.connected = true;
    result.transport = connection.transport();
    // A peer that refuses in the middle of a long datagram may have answered before it closed: read in any case.
    const bool written = connection.write(datagram, deadline);
    if (!written) result.problem = "while writing: " + connection.problem();
    if (!connection.readToEnd(result.answer, longestAnswer, deadline) && written) {
        result.problem = "while reading: " + connection.problem();
    }
    connection.sayGoodbye();
    if (session && !save_session(settings.tls.resumeFile, session.get())) {
        result.problem = "cannot keep the TLS session in " + settings.tls.resumeFile + ": " + std::strerror(errno);
    }
    return result;
}

std::string address_towards(const std::string& host, std::uint16_t port) {
    std::string problem;
    const Addresses addresses = resolve(host, port, SOCK_DGRAM, problem);
    for (const addrinfo* address = addresses.get(); address != nullptr; address = address->ai_next) {
        // Controllers know IPv4 addresses only.
        if (address->ai_family != AF_INET) continue;
        const Descriptor descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        sockaddr_in local{};
        socklen_t size = sizeof(local);
        std::array<char, INET_ADDRSTRLEN> text{};
        if (descriptor.valid() && connect(descriptor.get(), address->ai_addr, address->ai_addrlen) == 0 &&
            getsockname(descriptor.get(), reinterpret_cast<sockaddr*>(&local), &size) == 0 &&
            inet_ntop(AF_INET, &local.sin_addr, text.data(), text.size()) != nullptr) {
            return text.data();
        }
    }
    return {};
}

}  // namespace neighbour
