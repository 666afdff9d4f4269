#include "home/coreclient.h"

#include <sys/socket.h>

#include <array>
#include <chrono>

#include "common/sockets.h"

namespace lab {

std::optional<long> ask_core(const std::string& socket_path, const CoreRequest& request, std::string& problem) {
    const Descriptor fd = connect_to_path(socket_path, std::chrono::seconds(5), problem);
    if (!fd) {
        return std::nullopt;
    }
    const std::string text = compose_core_request(request);
    std::string reply;
    std::array<char, 1024> buffer{};
    ssize_t count = ::send(fd.get(), text.data(), text.size(), MSG_NOSIGNAL);
    while (count > 0 && (count = ::recv(fd.get(), buffer.data(), buffer.size(), 0)) > 0) {
        reply.append(buffer.data(), static_cast<size_t>(count));
    }
    const auto status = parse_core_reply(reply);
    if (!status) {
        problem = socket_path + ": no usable answer";
    }
    return status;
}

CoreRequest run_on_element(const std::string& object, const std::string& action, const std::string& value,
                           const std::string& caller) {
    CoreRequest request;
    request.function = "SERVICE_RUNONELEMENT";
    request.parameters = {"127.0.0.1",  object,         action,        value.empty() ? "NO-VALUE" : value,
                          "NO-PAYLOAD", "NO-OPTIONALS", "NO-HASHCODE", caller};
    return request;
}

}  // namespace lab
