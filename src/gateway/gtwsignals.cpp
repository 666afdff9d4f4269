#include "gateway/gtwsignals.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "cbase/logging.h"

namespace gtwhandlernamespace {

namespace {

void gtwHandlerSigsegvHandler(int) {
    error(
        "gtwhandler->gtwHandlerSigsegvHandler called, the instance receive a 'Segmentation Fault' signal, check code");
    _exit(1);
}

void gtwHandlerSigabrtHandler(int) {
    error("gtwhandler->gtwHandlerSigabrtHandler called, the instance receive a 'Abort' signal, memory problem");
    _exit(1);
}

void gtwHandlerSigpipeHandler(int) {
    error("gtwhandler->gtwHandlerSigpipeHandler called, the instance receive a 'Pipe' signal, some handlers went down");
}

void gtwHandlerSigchldHandler(int) {
    error(
        "gtwhandler->gtwHandlerSigchldHandler called, the instance receive a 'Child' signal, some handlers went down");
}

// Log lines are written as they are made, so nothing is lost by leaving at once.
void gtwHandlerSigtermHandler(int) {
    _exit(0);
}

struct SignalEntry {
    int number;
    int flags;
    void (*handler)(int);
    const char* action;  // name of the action in the error texts
    const char* name;
};

constexpr std::array entries{
    SignalEntry{SIGSEGV, 0, gtwHandlerSigsegvHandler, "segv_action", "SIGSEGV"},
    SignalEntry{SIGABRT, 0, gtwHandlerSigabrtHandler, "abrt_action", "SIGABRT"},
    SignalEntry{SIGPIPE, SA_RESTART, gtwHandlerSigpipeHandler, "pipe_action", "SIGPIPE"},
    SignalEntry{SIGCHLD, SA_RESTART, gtwHandlerSigchldHandler, "chld_action", "SIGCHLD"},
    SignalEntry{SIGTERM, 0, gtwHandlerSigtermHandler, "term_action", "SIGTERM"},
};

}  // namespace

bool install_signal_handlers(std::string& error) {
    for (const SignalEntry& entry : entries) {
        struct sigaction action {};
        if (sigemptyset(&action.sa_mask) != 0) {
            error =
                std::string("GtwHandler::initialize error sigemptyset ") + entry.action + " '" + strerror(errno) + "'";
            return false;
        }
        action.sa_flags = entry.flags;
        action.sa_handler = entry.handler;
        if (sigaction(entry.number, &action, nullptr) != 0) {
            error = std::string("GtwHandler::initialize error cannot initialize ") + entry.name + " handler";
            return false;
        }
    }
    return true;
}

}  // namespace gtwhandlernamespace
