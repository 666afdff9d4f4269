// The event loop of the process, one select cycle at a time. It owns the commands endpoint, the listening socket on
// which the core sends its calls, and a list of gateways: descriptors, each with an object to call when it is readable.
// main turns it; the client handler is its gateway.
#pragma once

#include <sys/select.h>

#include <array>
#include <memory>
#include <optional>
#include <string>

#include "cbase/descriptor.h"
#include "cbase/lasterror.h"
#include "cbase/timedio.h"
#include "gateway/callfromcoreparameters.h"
#include "gateway/gtwlistelement.h"

namespace libenvcore {
struct CoreCall;
}

namespace gtwhandlernamespace {

class GtwHandler {
  public:
    static constexpr int mostGateways = 20;

    // What the last cycle served.
    enum EventKind { selectTimedOut = 0, coreCallAnswered = 1, gatewayServed = 2 };

    // Commands endpoint on a random free TCP port. The command line is accepted for the gateways' sake and not read.
    GtwHandler(int argc, char** argv);
    // Commands endpoint on TCP port `port`.
    GtwHandler(int port, int argc, char** argv);
    // Commands endpoint on a Unix-domain socket at `path`, which is copied.
    GtwHandler(const char* path, int argc, char** argv);
    GtwHandler(const GtwHandler&) = delete;
    GtwHandler& operator=(const GtwHandler&) = delete;
    // Leaves the commands endpoint open until the process ends: the core may be about to call.
    ~GtwHandler();

    // Installs the signal handlers and opens the commands endpoint. 0, or -1 with the last error set.
    int initialize();

    // Adds a gateway; `handler` is borrowed. 0, 30 when the list is full, or -1 for a descriptor that select cannot
    // watch. Duplicates are not looked for.
    int addGateway(int fd, gtwbasenamespace::GtwBaseClass* handler);
    // Removes the first gateway with that descriptor. 0, or -1 when there is none.
    int removeGateway(int fd);
    // Builds the set of watched descriptors anew.
    void refreshMaxFd();
    // Prepares the next cycle. Returns 0.
    int cleanup();

    // One select cycle: serves one call from the core and one gateway, those that are readable, in this order. Returns
    // the last handler's result, the count of select when no handler was called (0 for a time-out), or -1 for a failed
    // select or a malformed call, with the last error set.
    int run();

    void setSelectTimeout(unsigned seconds, unsigned microseconds);
    int getGatewayCallbacksTimeout() const { return gatewayCallbacksTimeout; }
    // The TCP port of the commands endpoint, once initialized; -1 for a Unix-domain endpoint.
    int getLocalPortWithCore() const { return localPortWithCore; }
    EventKind getLastEventKind() const { return lastEventKind; }
    const char* getVersion() const;

    // The last error, owned by this object, or null. It is printed nowhere else.
    const char* getLastError() const { return lastError.get(); }
    [[gnu::format(printf, 2, 3)]] void setLastError(const char* format, ...);

  private:
    struct CallOutcome;

    void watch(int fd);
    int openCommandsEndpoint();
    CallOutcome receiveCall();
    std::optional<std::string> receiveCallText(int fd);
    bool receiveMore(int fd, std::string& received, timedio::Deadline deadline);
    void callNotRead(int reason);
    CallOutcome answerCall(Descriptor connection, const libenvcore::CoreCall& call);
    int dispatchCall(callfromcoreparametersnamespace::CallFromCoreParameters* parameters, int result);
    int serveGateway(const fd_set& ready, int result);

    LastError lastError;
    std::optional<std::string> localSocketPath;
    int gatewayCallbacksTimeout = 5;
    fd_set readSet{};
    int maxFd = -1;
    int localPortWithCore = 0;  // -1: at localSocketPath; 0: a random port; above: that port
    int commandsEndpoint = -1;
    unsigned selectTimeoutMicroseconds = 0;
    unsigned selectTimeoutSeconds = 10;
    std::array<std::unique_ptr<gtwlistelementnamespace::GtwListElement>, mostGateways> gateways;
    int gatewayCount = 0;
    EventKind lastEventKind = selectTimedOut;
};

}  // namespace gtwhandlernamespace
