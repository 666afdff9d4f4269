#include "fsmcore/runnercalls.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <iostream>
#include <utility>
#include <vector>

#include "common/sockets.h"
#include "common/text.h"

namespace lab {

namespace {

constexpr std::chrono::seconds patience{5};
constexpr size_t longest_reply = 4096;

}  // namespace

void RunnerCalls::change_status(long runner_id, uint16_t port, long client_browser_id, long object_id) {
    Line& line = lines_[port];
    CoreRequest request;
    request.function = "SERVICE_RUNONELEMENT";
    request.parameters = {std::to_string(client_browser_id), "NO-VALUE", "CHANGESTATUS",
                          std::to_string(object_id),         "NO-VALUE", ""};
    request.length_managed = length_managed_;
    line.waiting.push_back({runner_id, std::move(request)});
    if (line.waiting.size() == 1) loop_.after(std::chrono::milliseconds(0), [this, port] { begin(port); });
}

void RunnerCalls::begin(uint16_t port) {
    Line& line = lines_[port];
    line.text = compose_runner_call(line.waiting.front().request);
    line.sent = 0;
    line.reply.clear();
    line.limit = loop_.after(patience, [this, port] { finish(port, "no answer in time"); });
    line.fd = start_connecting(port);
    if (!line.fd.valid()) {
        finish(port, "no connection");
        return;
    }
    loop_.watch(line.fd.get(), EPOLLOUT, [this, port](uint32_t) { advance(port); });
}

// False when there is nothing to wait for any more.
bool RunnerCalls::send_rest(Line& line, uint16_t port) {
    const ssize_t count =
        ::send(line.fd.get(), line.text.data() + line.sent, line.text.size() - line.sent, MSG_NOSIGNAL);
    if (count < 0) return errno == EAGAIN;
    line.sent += static_cast<size_t>(count);
    if (line.sent == line.text.size()) {
        const Call& call = line.waiting.front();
        std::vector<std::string> fields{"CALL", std::to_string(call.runner_id), std::to_string(port)};
        fields.insert(fields.end(), call.request.parameters.begin(), call.request.parameters.end());
        journal_.write(fields);
        loop_.change(line.fd.get(), EPOLLIN);
    }
    return true;
}

void RunnerCalls::advance(uint16_t port) {
    Line& line = lines_[port];
    if (line.sent < line.text.size()) {
        if (!send_rest(line, port)) finish(port, "no connection");
        return;
    }
    std::array<char, 1024> buffer{};
    const ssize_t count = ::recv(line.fd.get(), buffer.data(), buffer.size(), 0);
    if (count < 0 && errno == EAGAIN) return;
    if (count > 0 && line.reply.size() < longest_reply) {
        line.reply.append(buffer.data(), static_cast<size_t>(count));
        return;
    }
    const auto status = parse_core_reply(line.reply);
    finish(port, status ? "FSMC-" + zero_padded(*status, 3) : "no answer");
}

void RunnerCalls::finish(uint16_t port, const std::string& outcome) {
    Line& line = lines_[port];
    const Call call = std::move(line.waiting.front());
    line.waiting.pop_front();
    loop_.cancel(line.limit);
    if (line.fd.valid()) {
        loop_.unwatch(line.fd.get());
        line.fd.reset();
    }
    journal_.write({"REPLY", std::to_string(call.runner_id), std::to_string(port), outcome});
    std::cout << "fsmcore: told runner " << call.runner_id << " that object " << call.request.parameters[3]
              << " changed: " << outcome << std::endl;
    if (line.waiting.empty()) {
        lines_.erase(port);
    } else {
        loop_.after(std::chrono::milliseconds(0), [this, port] { begin(port); });
    }
}

}  // namespace lab
