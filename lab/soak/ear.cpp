#include "ear.h"

#include <poll.h>

#include <chrono>
#include <utility>

#include "neighbour/datagrams.h"
#include "neighbour/judge.h"

namespace soak {

std::unique_ptr<Ear> Ear::open(std::uint16_t port, std::string& problem) {
    auto listener = neighbour::Listener::open(port, neighbour::TlsSettings(), problem);
    return listener ? std::unique_ptr<Ear>(new Ear(std::move(*listener))) : nullptr;
}

Ear::Ear(neighbour::Listener listener) : listener_(std::move(listener)), thread_([this] { listen(); }) {}

Ear::~Ear() {
    stopping_ = true;
    thread_.join();
}

void Ear::listen() {
    constexpr int lookUp = 100;  // milliseconds
    constexpr std::chrono::seconds patience{10};
    while (!stopping_) {
        pollfd wanted{listener_.descriptor(), POLLIN, 0};
        if (poll(&wanted, 1, lookUp) <= 0) continue;
        std::string problem;
        const std::string text = listener_.receive(patience, problem);
        if (text.empty() && problem.empty()) continue;
        const auto datagram = neighbour::decode(text);
        const bool good =
            problem.empty() && datagram && neighbour::text_member(*datagram, "function") == "changestatus";
        ++(good ? heard_ : bad_);
    }
}

}  // namespace soak
