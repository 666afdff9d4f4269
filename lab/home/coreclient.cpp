#include "home/coreclient.h"

#include <sys/socket.h>

#include <array>
#include <chrono>

#include "cbase/timedio.h"
#include "common/coremessage.h"
#include "common/corestatus.h"
#include "common/sockets.h"

namespace lab {

namespace {

constexpr std::chrono::seconds patience{5};

// What comes in time.
std::string reply_to(const Descriptor& fd, const std::string& request) {
    const auto deadline = timedio::deadline_in(patience);
    std::string reply;
    std::array<char, 1024> buffer{};
    ssize_t count = ::send(fd.get(), request.data(), request.size(), MSG_NOSIGNAL);
    while (count > 0 && (count = timedio::receive(fd.get(), buffer.data(), buffer.size(), deadline)) > 0)
        reply.append(buffer.data(), static_cast<size_t>(count));
    return reply;
}

}  // namespace

std::string run_on_element(const Context& context, const std::string& object, const std::string& action,
                           const std::string& value, const std::string& caller) {
    CoreRequest request;
    request.function = "SERVICE_RUNONELEMENT";
    request.parameters = {"127.0.0.1",  object,         action,        value.empty() ? "NO-VALUE" : value,
                          "NO-PAYLOAD", "NO-OPTIONALS", "NO-HASHCODE", caller};
    std::string problem;
    const Descriptor fd = connect_to_path(context.core_socket, problem);
    if (!fd.valid()) return "fsmcore does not answer: " + problem;
    const auto status = parse_core_reply(reply_to(fd, compose_core_request(request)));
    if (!status) return "fsmcore does not answer: " + context.core_socket + ": no usable answer";
    return *status == core_status::done ? "" : "fsmcore refused: " + core_status::text(*status);
}

}  // namespace lab
