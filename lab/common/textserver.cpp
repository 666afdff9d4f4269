#include "common/textserver.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

#include "cbase/timedio.h"

namespace lab {

namespace {

constexpr size_t longest_request = size_t{64} << 20U;

// Junk that is neither text nor a header, the same every time.
std::string junk() {
    std::string bytes;
    for (unsigned i = 0; i < 64; ++i) bytes += static_cast<char>((i * 167U + 0x80U) & 0xFFU);
    return bytes;
}

}  // namespace

TextServer::TextServer(EventLoop& loop, Descriptor listener, FaultPlan& faults, TextService& service)
    : loop_(loop), listener_(std::move(listener)), faults_(faults), service_(service) {
    loop_.watch(listener_.get(), EPOLLIN, [this](uint32_t) { accept_all(); });
}

TextServer::~TextServer() {
    loop_.unwatch(listener_.get());
    for (const auto& [id, connection] : connections_) loop_.unwatch(connection.fd.get());
}

void TextServer::accept_all() {
    while (true) {
        Descriptor fd(::accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (!fd.valid()) return;
        if (faults_.refuses_connection()) continue;
        const uint64_t id = ++last_id_;
        loop_.watch(fd.get(), EPOLLIN, [this, id](uint32_t events) { serve(id, events); });
        connections_[id].fd = std::move(fd);
        // The request is usually there already: this saves a turn of the loop.
        serve(id, EPOLLIN);
    }
}

void TextServer::serve(uint64_t id, uint32_t events) {
    const auto found = connections_.find(id);
    if (found == connections_.end()) return;
    Connection& connection = found->second;
    switch (connection.state) {
        case State::reading:
            read_request(id, connection);
            break;
        case State::delayed:
            if ((events & (EPOLLHUP | EPOLLERR)) != 0U) end(id);
            break;
        case State::writing:
            write_answer(id, connection);
            break;
        case State::stalled: {
            char ignored = 0;
            if (::recv(connection.fd.get(), &ignored, 1, MSG_DONTWAIT) == 0 || (events & (EPOLLHUP | EPOLLERR)) != 0U)
                end(id);
            break;
        }
    }
}

void TextServer::read_request(uint64_t id, Connection& connection) {
    std::array<char, 16384> buffer{};
    while (true) {
        const ssize_t count = ::recv(connection.fd.get(), buffer.data(), buffer.size(), 0);
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
        if (count <= 0 || connection.received.size() > longest_request) {
            end(id);
            return;
        }
        connection.received.append(buffer.data(), static_cast<size_t>(count));
        if (service_.complete(connection.received)) {
            take_request(id, connection);
            return;
        }
    }
}

void TextServer::take_request(uint64_t id, Connection& connection) {
    service_.note(connection.received);
    connection.fault = faults_.for_request(connection.received);
    if (connection.fault.delay.count() == 0) {
        make_answer(id, connection);
        return;
    }
    connection.state = State::delayed;
    loop_.change(connection.fd.get(), 0);
    loop_.after(connection.fault.delay, [this, id] {
        const auto found = connections_.find(id);
        if (found != connections_.end()) make_answer(id, found->second);
    });
}

void TextServer::make_answer(uint64_t id, Connection& connection) {
    const Fault& fault = connection.fault;
    if (fault.close_early) {
        timedio::drain(connection.fd.get());
        end(id);
        return;
    }
    connection.answer = fault.garbage ? junk() : fault.raw ? *fault.raw : service_.answer(connection.received, fault);
    const auto limit = fault.cut ? fault.cut : fault.stall;
    if (limit && *limit < connection.answer.size()) connection.answer.resize(*limit);
    connection.state = State::writing;
    write_answer(id, connection);
}

void TextServer::write_answer(uint64_t id, Connection& connection) {
    while (connection.sent < connection.answer.size()) {
        const ssize_t count = ::send(connection.fd.get(), connection.answer.data() + connection.sent,
                                     connection.answer.size() - connection.sent, MSG_NOSIGNAL);
        if (count < 0) {
            if (errno == EAGAIN) {
                loop_.change(connection.fd.get(), EPOLLOUT);
            } else {
                end(id);
            }
            return;
        }
        connection.sent += static_cast<size_t>(count);
    }
    if (connection.fault.stall) {
        connection.state = State::stalled;
        loop_.change(connection.fd.get(), EPOLLIN);
        return;
    }
    timedio::drain(connection.fd.get());
    end(id);
}

void TextServer::end(uint64_t id) {
    const auto found = connections_.find(id);
    if (found != connections_.end()) {
        loop_.unwatch(found->second.fd.get());
        connections_.erase(found);
    }
}

}  // namespace lab
