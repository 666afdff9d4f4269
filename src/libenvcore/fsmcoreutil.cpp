#include "libenvcore/fsmcoreutil.h"

#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "cbase/cstylecode_sockets.h"
#include "cbase/descriptor.h"
#include "cbase/logging.h"
#include "cbase/memory.h"
#include "cbase/numbers.h"
#include "cbase/result.h"
#include "cbase/timedio.h"
#include "libenvcore/coremessages.h"

using libenvcore::Framing;

namespace {

constexpr std::size_t replyLimit = 1024;           // bytes of a reply without framing: one receive
constexpr std::size_t responseLimit = 1023;        // bytes of an answer to a call
constexpr long longestFramedReply = 1024L * 1024;  // a length beyond it is no length
constexpr std::string_view replyLengthTag = "LengthResponseIs: ";

// The core restarts now and then and its socket is gone for a moment: a few quick attempts bridge that.
Descriptor connect_to_core(const char* path) {
    constexpr int attempts = 5;
    constexpr std::chrono::microseconds pause{500};
    Descriptor fd;
    for (int i = 0; i < attempts && !fd.valid(); ++i) {
        fd.reset(make_localtcpclient_socket(path));
        if (!fd.valid()) std::this_thread::sleep_for(pause);
    }
    return fd;
}

// Whether the length line of a framed reply is whole and the announced bytes after it are there. Nothing when it is no
// length line.
std::optional<bool> framed_reply_complete(const std::string& received, std::size_t& bodyStart) {
    const std::size_t tagLength = std::min(received.size(), replyLengthTag.size());
    if (strncasecmp(received.data(), replyLengthTag.data(), tagLength) != 0) return std::nullopt;
    const std::size_t lineEnd = received.find('\n');
    if (lineEnd == std::string::npos) return received.size() > replyLimit ? std::nullopt : std::optional<bool>(false);
    const auto length = parse_number(received.substr(tagLength, lineEnd - tagLength));
    if (!length || *length < 0 || *length > longestFramedReply) return std::nullopt;
    bodyStart = lineEnd + 1;
    return received.size() - bodyStart >= static_cast<std::size_t>(*length);
}

// Receives the reply: one block, or with lengths as many blocks as announced. Nothing after logging on failure.
std::optional<std::string> receive_reply(int fd, Framing framing, const std::string& unit, const char* function) {
    std::string received;
    std::size_t bodyStart = 0;
    for (;;) {
        std::array<char, replyLimit> block;
        const ssize_t count = timedio::receive_blocking(fd, block.data(), block.size());
        if (count < 0) {
            error("%s recv reading response failed with error '%s' for function '%s'", unit.c_str(), strerror(errno),
                  function);
            return std::nullopt;
        }
        received.append(block.data(), static_cast<std::size_t>(count));
        if (framing == Framing::plain) return received;
        const auto complete = framed_reply_complete(received, bodyStart);
        if (!complete || (count == 0 && !*complete)) {
            error("%s strtok parsing 'LengthResponseIs: ' response tag failed for function '%s'", unit.c_str(),
                  function);
            return std::nullopt;
        }
        if (*complete) return received.substr(bodyStart);
    }
}

// The texts of an array in the C manner; null texts are empty, a null array has none.
std::vector<std::string> texts_of(char** texts, int count) {
    std::vector<std::string> result;
    if (texts == nullptr || count <= 0) return result;
    result.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) result.emplace_back(texts[i] == nullptr ? "" : texts[i]);
    return result;
}

// A heap array of heap texts, for callers in the C manner.
char** copy_texts(const std::vector<std::string>& texts) {
    auto** array = static_cast<char**>(xmalloc((texts.size() + 1) * sizeof(char*)));
    for (std::size_t i = 0; array != nullptr && i < texts.size(); ++i) array[i] = xstrcpy(nullptr, texts[i].c_str());
    return array;
}

int exchange(Framing framing, const char* name, const char* socketPath, const char* function, int count,
             char** parameters, int* responseCount, char*** responseParameters, const char* waittime) {
    const std::string unit = std::string("FSMCoreutil->") + name;
    const Descriptor fd = connect_to_core(socketPath);
    if (!fd.valid()) {
        error("%s error opening socket FSMCore clientside for function '%s'", unit.c_str(), function);
        return result::socketFailure;
    }
    const std::string request =
        libenvcore::format_core_request(function, texts_of(parameters, count), waittime, framing);
    if (!timedio::send_blocking(fd.get(), request)) {
        error("%s send writing request failed with error '%s' for function '%s'", unit.c_str(), strerror(errno),
              function);
        return result::sendFailed;
    }
    const auto text = receive_reply(fd.get(), framing, unit, function);
    if (!text) return result::malformedReply;
    std::string reason;
    const auto reply = libenvcore::parse_core_reply(*text, function, reason);
    if (!reply) {
        error("%s %s", unit.c_str(), reason.c_str());
        return result::malformedReply;
    }
    if (responseCount != nullptr && responseParameters != nullptr) {
        *responseParameters = copy_texts(reply->parameters);
        *responseCount = *responseParameters == nullptr ? 0 : static_cast<int>(reply->parameters.size());
    }
    return reply->status;
}

}  // namespace

int fsmcore_request(const char* socketPath, const char* function, int count, char** parameters, int* responseCount,
                    char*** responseParameters, const char* waittime) {
    return exchange(Framing::plain, "fsmcore_request", socketPath, function, count, parameters, responseCount,
                    responseParameters, waittime);
}

int fsmcore_request_lengthmgm(const char* socketPath, const char* function, int count, char** parameters,
                              int* responseCount, char*** responseParameters, const char* waittime) {
    return exchange(Framing::lengthManaged, "fsmcore_request_lengthmgm", socketPath, function, count, parameters,
                    responseCount, responseParameters, waittime);
}

void free_core_texts(char** texts, int count) {
    for (int i = 0; texts != nullptr && i < count; ++i) xfree(texts[i]);
    xfree(texts);
}

int fsmcore_response(int fd, int status, int count, char** parameters) {
    const std::string reply =
        libenvcore::format_core_reply(status, texts_of(parameters, count)).substr(0, responseLimit);
    if (timedio::send_all(fd, reply.data(), reply.size(), timedio::deadline_in(timedio::peerTimeout)) < 0) {
        error("FSMCoreutil->fsmcore_response send writing response failed with error '%s'", strerror(errno));
        close(fd);
        return result::sendFailed;
    }
    return result::ok;
}
