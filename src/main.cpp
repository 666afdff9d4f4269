// The process: started by the core for one neighbour, it prints one status line, then serves until the neighbour is
// cleared, does not attach in time, or the core ends the process.

#include <fcntl.h>
#include <strings.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <memory>
#include <new>
#include <string>

#include "cbase/cstylecode_identity.h"
#include "cbase/logging.h"
#include "cbase/memory.h"
#include "cbase/result.h"
#include "cbase/version.h"
#include "gateway/gtwhandler.h"
#include "m2m/m2mclienthandler.h"
#include "model/m2mobjectcategory.h"
#include "model/m2mremotableobject.h"
#include "model/m2mrendering.h"

using gtwhandlernamespace::GtwHandler;

namespace {

constexpr int success = 0;
constexpr int failure = 1;
constexpr long secondsToAttach = 60;

// A parent may start the process without standard descriptors; sockets must not take their numbers, or log lines would
// be written into them.
void fillStandardDescriptors() {
    int fd = open("/dev/null", O_RDWR);
    while (fd >= 0 && fd <= STDERR_FILENO) fd = open("/dev/null", O_RDWR);
    if (fd > STDERR_FILENO) close(fd);
}

template <class T>
std::unique_ptr<T> create(int argc, char** argv) {
    try {
        return std::make_unique<T>(argc, argv);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// The parent reads this line: 0 and the port on which it can call this process, or -1 and -1.
void printStatus(int status, int port, const char* reason) {
    std::string line = std::to_string(status) + "," + std::to_string(port) + "\n";
    if (reason != nullptr) line += std::string(" ") + reason;
    console_write(line.data(), line.size());
}

void recordVersions() {
    const XText cbase(libcbase_get_version());
    logged_info("Versione libcbase <%s>", cbase.get());
    logged_info("Versione libenvgtw <%s>", version::libenvgtw);
    logged_info("Versione libenvdb <%s>", version::libenvdb);
}

bool attachIsOverdue(const M2MClientHandler& client) {
    return !client.validAttachIsArrived() && time(nullptr) > client.getCreationTimestamp() + secondsToAttach;
}

// Turns the loop until it is to end; the exit status. A failed cycle is never a reason to end.
int turn(GtwHandler& gateway, M2MClientHandler& client) {
    for (;;) {
        if (gateway.cleanup() != 0) return failure;
        const int code = gateway.run();
        if (code == result::endRunner) {
            error("main performed run with error %d -> terminating the script with success", code);
            return success;
        }
        if (attachIsOverdue(client)) {
            error("main -> a valid attach not arrived, terminating and deleting the client!");
            if (client.deleteFromDB() != 0) error("main -> error deleting client from database! Killing anyway...");
            return failure;
        }
        client.checkNeighbourExpire();
    }
}

// Serves the neighbour from the attached handler on; the exit status.
int serve(GtwHandler& gateway, int argc, char** argv) {
    auto client = create<M2MClientHandler>(argc, argv);
    if (!client) {
        error("main error creating client handler");
        return failure;
    }
    const int socket = client->getListeningSocket();
    if (socket < 0) {
        error("main error creating client socket!");
        return failure;
    }
    const int added = gateway.addGateway(socket, client.get());
    if (added != 0) error("main add gateway for socket <%d> failed with return code %d", socket, added);
    recordVersions();

    const int status = turn(gateway, *client);
    gateway.removeGateway(socket);
    return status;
}

int start(int argc, char** argv) {
    const auto gateway = create<GtwHandler>(argc, argv);
    if (!gateway || gateway->getLastError() != nullptr) {
        printStatus(-1, -1, gateway ? gateway->getLastError() : "");
        return failure;
    }
    if (gateway->initialize() != 0) {
        printStatus(-1, -1, nullptr);
        return failure;
    }
    printStatus(0, gateway->getLocalPortWithCore(), nullptr);
    return serve(*gateway, argc, argv);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && strcasecmp(argv[1], "-v") == 0) {
        std::printf("Version: %s\n", version::program);
        return success;
    }
    fillStandardDescriptors();
    openlogfile();
    const int status = start(argc, argv);
    M2MRemotableObject::deleteCache();
    M2MObjectCategory::deleteCache();
    M2MRendering::deleteCache();
    closelogfile();
    return status;
}
