#include "common/requestthread.h"

#include <sys/socket.h>

#include <array>
#include <utility>

namespace lab {

RequestThread::RequestThread(int listener, Complete complete, Reply reply)
    : listener_(listener), complete_(std::move(complete)), reply_(std::move(reply)), thread_([this] { serve(); }) {}

RequestThread::~RequestThread() {
    shutdown(listener_.get(), SHUT_RDWR);
    thread_.join();
}

void RequestThread::serve() {
    for (;;) {
        const Descriptor peer(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!peer.valid()) return;
        std::string request;
        std::array<char, 16384> block;
        ssize_t count = 1;
        while (count > 0 && !complete_(request)) {
            count = recv(peer.get(), block.data(), block.size(), 0);
            if (count > 0) request.append(block.data(), static_cast<std::size_t>(count));
        }
        reply_(peer.get(), request);
    }
}

}  // namespace lab
