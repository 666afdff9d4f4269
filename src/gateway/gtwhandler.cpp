#include "gateway/gtwhandler.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "cbase/cstylecode_sockets.h"
#include "cbase/logging.h"
#include "cbase/numbers.h"
#include "cbase/result.h"
#include "cbase/timedio.h"
#include "cbase/version.h"
#include "gateway/gtwsignals.h"
#include "libenvcore/coremessages.h"
#include "libenvcore/fsmcoreutil.h"

using callfromcoreparametersnamespace::CallFromCoreParameters;
using gtwbasenamespace::GtwBaseClass;
using gtwlistelementnamespace::GtwListElement;
using libenvcore::CoreCall;

namespace gtwhandlernamespace {

namespace {

constexpr int commandsBacklog = 64;

bool is_set(int fd, const fd_set& set) {
    return fd >= 0 && fd < FD_SETSIZE && FD_ISSET(fd, &set);
}

}  // namespace

// What became of a connection on the commands endpoint.
struct GtwHandler::CallOutcome {
    bool failed = false;                                 // the cycle ends with -1
    std::unique_ptr<CallFromCoreParameters> parameters;  // set for a call that the gateways are to see
};

GtwHandler::GtwHandler(int /*argc*/, char** /*argv*/) {}

GtwHandler::GtwHandler(int port, int /*argc*/, char** /*argv*/) : localPortWithCore(port) {}

GtwHandler::GtwHandler(const char* path, int /*argc*/, char** /*argv*/)
    : localSocketPath(path == nullptr ? "" : path), localPortWithCore(-1) {}

GtwHandler::~GtwHandler() = default;

int GtwHandler::initialize() {
    std::string reason;
    if (!install_signal_handlers(reason)) {
        setLastError("%s", reason.c_str());
        return -1;
    }
    commandsEndpoint = openCommandsEndpoint();
    if (commandsEndpoint < 0 || commandsEndpoint >= FD_SETSIZE) {
        setLastError("GtwHandler::initialize error cannot initialize commands endpoint");
        return -1;
    }
    return 0;
}

int GtwHandler::openCommandsEndpoint() {
    if (localSocketPath) return make_local_socket(localSocketPath->c_str(), commandsBacklog);
    if (localPortWithCore != 0) return make_internet_socket(localPortWithCore, commandsBacklog);
    int port = 0;
    const int fd = make_internet_socket_randomport(&port, commandsBacklog);
    if (fd > 0 && port > 0) localPortWithCore = port;
    return fd;
}

int GtwHandler::addGateway(int fd, GtwBaseClass* handler) {
    if (gatewayCount >= mostGateways) return result::gatewayListFull;
    if (fd >= FD_SETSIZE) return -1;
    gateways[static_cast<std::size_t>(gatewayCount)] = std::make_unique<GtwListElement>(fd, handler);
    ++gatewayCount;
    watch(fd);
    return result::ok;
}

int GtwHandler::removeGateway(int fd) {
    const auto end = gateways.begin() + gatewayCount;
    const auto found = std::find_if(gateways.begin(), end, [fd](const auto& entry) { return entry->getFd() == fd; });
    if (found == end) return -1;
    std::move(found + 1, end, found);
    --gatewayCount;
    gateways[static_cast<std::size_t>(gatewayCount)].reset();
    refreshMaxFd();
    return result::ok;
}

// A descriptor set holds 1024 bits; a descriptor beyond them cannot be watched.
void GtwHandler::watch(int fd) {
    if (fd < 0 || fd >= FD_SETSIZE) return;
    FD_SET(fd, &readSet);
    maxFd = std::max(maxFd, fd);
}

void GtwHandler::refreshMaxFd() {
    FD_ZERO(&readSet);
    maxFd = -1;
    watch(commandsEndpoint);
    for (int i = 0; i < gatewayCount; ++i) watch(gateways[static_cast<std::size_t>(i)]->getFd());
}

int GtwHandler::cleanup() {
    refreshMaxFd();
    return 0;
}

int GtwHandler::run() {
    timeval timeout{static_cast<time_t>(selectTimeoutSeconds), static_cast<suseconds_t>(selectTimeoutMicroseconds)};
    int result = select(maxFd + 1, &readSet, nullptr, nullptr, &timeout);
    if (result == -1) {
        setLastError("GtwHandler::run select failed with error '%s'", strerror(errno));
        return -1;
    }
    if (result == 0) {
        lastEventKind = selectTimedOut;
        return 0;
    }
    const fd_set ready = readSet;  // handlers may change the list, and with it the master set
    if (is_set(commandsEndpoint, ready)) {
        const CallOutcome outcome = receiveCall();
        if (outcome.failed) return -1;
        if (outcome.parameters) result = dispatchCall(outcome.parameters.get(), result);
    }
    return serveGateway(ready, result);
}

// Takes one call off the commands endpoint: read, parse, answer.
GtwHandler::CallOutcome GtwHandler::receiveCall() {
    Descriptor connection(timedio::accept_connection(commandsEndpoint));
    if (!connection.valid()) {
        setLastError("GtwHandler::run accept failed with error '%s', continuing for the next request", strerror(errno));
        return {true, nullptr};
    }
    const auto text = receiveCallText(connection.get());
    std::string reason;
    const auto call = text ? libenvcore::parse_core_call(*text, reason) : std::nullopt;
    if (!call) {
        if (text) setLastError("%s", reason.c_str());
        timedio::close_connection(connection.release());
        return {true, nullptr};
    }
    return answerCall(std::move(connection), *call);
}

// One receive is the call, unless its first line announces a length: then as many as it takes.
std::optional<std::string> GtwHandler::receiveCallText(int fd) {
    const auto deadline = timedio::deadline_in(timedio::peerTimeout);
    std::array<char, libenvcore::callBlock> block;
    const ssize_t count = timedio::receive(fd, block.data(), block.size(), deadline);
    if (count < 0) {
        setLastError("GtwHandler::run recv reading request [1] failed with error '%s', continuing for the next request",
                     strerror(errno));
        return std::nullopt;
    }
    std::string received(block.data(), static_cast<std::size_t>(count));
    if (!libenvcore::announces_length(received)) return received;
    while (received.find('\n') == std::string::npos && received.size() < libenvcore::callBlock) {
        if (!receiveMore(fd, received, deadline)) return std::nullopt;
    }

    std::string reason;
    const auto announced = libenvcore::parse_call_length(received, reason);
    if (!announced) {
        setLastError("%s", reason.c_str());
        return std::nullopt;
    }
    for (;;) {
        const std::size_t start = libenvcore::find_call(received);
        const bool begun = start != std::string::npos;
        if (begun && static_cast<long>(received.size() - start) >= *announced) return received.substr(start);
        if (!begun && received.size() > static_cast<std::size_t>(libenvcore::callLimit)) {
            callNotRead(EMSGSIZE);
            return std::nullopt;
        }
        if (!receiveMore(fd, received, deadline)) return std::nullopt;
    }
}

// Appends the next block of a length-managed call. The early end of the connection is a failure like any other.
bool GtwHandler::receiveMore(int fd, std::string& received, timedio::Deadline deadline) {
    std::array<char, libenvcore::callBlock> block;
    const ssize_t count = timedio::receive(fd, block.data(), block.size(), deadline);
    if (count > 0) {
        received.append(block.data(), static_cast<std::size_t>(count));
        return true;
    }
    callNotRead(count == 0 ? EPROTO : errno);
    return false;
}

void GtwHandler::callNotRead(int reason) {
    setLastError("GtwHandler::run recv reading request [2] failed with error '%s', continuing for the next request",
                 strerror(reason));
}

// The core is answered before anything is done with its call, so it never waits for a neighbour. Other requests than
// this one are closed unanswered.
GtwHandler::CallOutcome GtwHandler::answerCall(Descriptor connection, const CoreCall& call) {
    if (strcasecmp(call.request.c_str(), "SERVICE_RUNONELEMENT") != 0) {
        timedio::close_connection(connection.release());
        return {false, nullptr};
    }
    const int fd = connection.release();
    if (fsmcore_response(fd, 0, 0, nullptr) == result::ok) timedio::close_connection(fd);
    lastEventKind = coreCallAnswered;

    const auto objectId = parse_number(call.parameter(0));
    if (!objectId) {
        setLastError(
            "GtwHandler::run ObjectID in first parameter <%s> is not a valid number, continuing for the next "
            "request",
            call.parameter(0).c_str());
        return {true, nullptr};
    }
    return {false, std::make_unique<CallFromCoreParameters>(*objectId, call.parameter(1).c_str(),
                                                            call.parameter(2).c_str(), call.parameter(3).c_str(),
                                                            call.parameter(4).c_str(), call.parameter(5).c_str())};
}

int GtwHandler::dispatchCall(CallFromCoreParameters* parameters, int result) {
    for (int i = 0; i < gatewayCount; ++i) {
        GtwBaseClass* handler = gateways[static_cast<std::size_t>(i)]->getHandler();
        if (handler != nullptr) result = handler->didReceiveCallFromCore(this, parameters);
    }
    return result;
}

// One gateway per cycle: the first in the list that is readable.
int GtwHandler::serveGateway(const fd_set& ready, int result) {
    for (int i = 0; i < gatewayCount; ++i) {
        const GtwListElement& gateway = *gateways[static_cast<std::size_t>(i)];
        if (gateway.getHandler() == nullptr || !is_set(gateway.getFd(), ready)) continue;
        lastEventKind = gatewayServed;
        return gateway.getHandler()->didReceiveCustomGatewayData(this, gateway.getFd());
    }
    return result;
}

void GtwHandler::setSelectTimeout(unsigned seconds, unsigned microseconds) {
    selectTimeoutSeconds = seconds;
    selectTimeoutMicroseconds = microseconds;
}

const char* GtwHandler::getVersion() const {
    return version::libenvgtw;
}

void GtwHandler::setLastError(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    lastError.set(format, arguments);
    va_end(arguments);
    if (format != nullptr) logged_info("%s", getLastError());
}

}  // namespace gtwhandlernamespace
