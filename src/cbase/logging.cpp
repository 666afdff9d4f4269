#include "cbase/logging.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "cbase/memory.h"
#include "cbase/timedio.h"

int otm_log_facility = LOG_LOCAL0;

namespace {

struct Level {
    int colour;
    int priority;
    const char* prefix;
};
constexpr Level errorLevel{31, LOG_ERR, "velklib "};
constexpr Level warningLevel{33, LOG_WARNING, "velklib "};
constexpr Level debugLevel{34, LOG_DEBUG, "velklib "};
constexpr Level verboseDebugLevel{34, LOG_DEBUG, ""};

constexpr std::size_t systemLogLimit = 1023;  // characters of a message that reach the system log
constexpr std::size_t shortLine = 2048;       // console lines up to this size need no heap
constexpr std::size_t headRoom = 96;          // escapes, process ID and prefix before a message
constexpr const char* lineTail = "\033[0;39m\n";

// --- Console -------------------------------------------------------------------------------------------------------

enum class Console { pipeLike, file, socket };
Console consoleKind = Console::pipeLike;
int consoleFd = STDOUT_FILENO;
bool consoleStuck = false;  // the reader let a whole patience pass: do not wait for it again until it keeps up

constexpr std::chrono::milliseconds consolePatience{1000};

// A pipe or terminal is opened anew for writing without blocking: the flag on the descriptor that the parent gave would
// be the parent's as well. Where that is not possible, a write that poll lets through may still block on a terminal.
void open_console() {
    struct stat status {};
    if (fstat(STDOUT_FILENO, &status) != 0) return;
    if (S_ISSOCK(status.st_mode)) {
        consoleKind = Console::socket;
    } else if (S_ISREG(status.st_mode)) {
        consoleKind = Console::file;
    } else if (consoleFd == STDOUT_FILENO) {
        const int own = open("/proc/self/fd/1", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
        if (own >= 0) consoleFd = own;
    }
}

// Writes what the console takes now. A pipe that polls writable has room for PIPE_BUF bytes.
ssize_t write_some(const char* data, std::size_t length) {
    if (consoleKind == Console::socket) return send(consoleFd, data, length, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (consoleKind == Console::pipeLike) length = std::min<std::size_t>(length, PIPE_BUF);
    return write(consoleFd, data, length);
}

// Waits until the console takes data; false when it is gone, or when nobody has read by the deadline.
bool wait_for_console(timedio::Deadline deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - timedio::Clock::now()).count();
        pollfd console{consoleFd, POLLOUT, 0};
        const int ready = poll(&console, 1, static_cast<int>(std::max<long long>(left, 0)));
        if (ready > 0) return (console.revents & (POLLERR | POLLHUP | POLLNVAL)) == 0;
        if (ready < 0 && errno != EINTR) return false;
        if (left <= 0) {
            consoleStuck = true;
            return false;
        }
    }
}

// --- System log ----------------------------------------------------------------------------------------------------

// Hands a message to syslog as its format, as the message's authors rely on: "%%" prints "%" and "%m" the error text.
// Any other conversion would take an argument that is not there, and datagrams reach these texts: it stays plain text.
void write_system_log(int priority, const char* message, int errorNumber) {
    char format[2 * systemLogLimit + 1];
    std::size_t length = 0;
    const char* const end = message + strnlen(message, systemLogLimit);
    const auto copy_to = [&](const char* stop) {
        std::memcpy(format + length, message, static_cast<std::size_t>(stop - message));
        length += static_cast<std::size_t>(stop - message);
        message = stop;
    };
    while (const void* percent = std::memchr(message, '%', static_cast<std::size_t>(end - message))) {
        copy_to(static_cast<const char*>(percent) + 1);
        if (message < end && (*message == '%' || *message == 'm')) {
            copy_to(message + 1);
        } else {
            format[length++] = '%';
        }
    }
    copy_to(end);
    format[length] = '\0';
    errno = errorNumber;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    syslog(otm_log_facility | priority, format);
#pragma GCC diagnostic pop
}

// Signals whose handlers log stay out while syslog is at work: its locks do not nest.
class SignalHold {
  public:
    SignalHold() {
        sigset_t logged;
        sigemptyset(&logged);
        sigaddset(&logged, SIGPIPE);
        sigaddset(&logged, SIGCHLD);
        pthread_sigmask(SIG_BLOCK, &logged, &before_);
    }
    SignalHold(const SignalHold&) = delete;
    SignalHold& operator=(const SignalHold&) = delete;
    ~SignalHold() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

  private:
    sigset_t before_{};
};

volatile std::sig_atomic_t inSystemLog = 0;

void log_to_system(int priority, const char* message, int errorNumber) {
    if (inSystemLog != 0) return;  // a fault inside syslog itself: the console has the message
    const SignalHold hold;
    inSystemLog = 1;
    write_system_log(priority, message, errorNumber);
    inSystemLog = 0;
}

// --- Lines ---------------------------------------------------------------------------------------------------------

// Formats head, message and tail into one line, so that it reaches the console in one piece, and calls `use` with the
// line and the place of the message in it. The heap is touched for long messages only.
template <class Use>
[[gnu::format(printf, 3, 0)]] void with_line(const char* head, const char* tail, const char* format, va_list arguments,
                                             const Use& use) {
    const int errorNumber = errno;
    const std::size_t headLength = std::strlen(head);
    const std::size_t room = headLength + std::strlen(tail) + 1;
    char buffer[shortLine];
    XText heap;
    char* line = buffer;

    va_list again;
    va_copy(again, arguments);
    int length = std::vsnprintf(buffer + headLength, sizeof buffer - room, format, arguments);
    if (length >= 0 && static_cast<std::size_t>(length) >= sizeof buffer - room) {
        heap.reset(static_cast<char*>(xmalloc(static_cast<std::size_t>(length) + room)));
        if (heap) {
            line = heap.get();
            errno = errorNumber;
            std::vsnprintf(line + headLength, static_cast<std::size_t>(length) + 1, format, again);
        } else {
            length = static_cast<int>(sizeof buffer - room) - 1;
        }
    }
    va_end(again);
    if (length >= 0) {
        std::memcpy(line, head, headLength);
        use(line, line + headLength, static_cast<std::size_t>(length), errorNumber);
    }
    errno = errorNumber;
}

[[gnu::format(printf, 2, 0)]] void report(const Level& level, const char* format, va_list arguments) {
    char head[headRoom];
    std::snprintf(head, sizeof head, "\033[%d;%dm<%d>\033[%d;%dm \033[%d;%dm%s", 1, level.colour, getpid(), 0, 39, 0,
                  level.colour, level.prefix);
    with_line(head, lineTail, format, arguments,
              [&level](char* line, char* message, std::size_t length, int errorNumber) {
                  std::memcpy(message + length, lineTail, std::strlen(lineTail));
                  console_write(line, static_cast<std::size_t>(message - line) + length + std::strlen(lineTail));
                  message[length] = '\0';
                  log_to_system(level.priority, message, errorNumber);
              });
}

}  // namespace

void openlogfile() {
    open_console();
    tzset();  // now, since it allocates: syslog would do it at its first use, which may be in a signal handler
    openlog(nullptr, LOG_CONS | LOG_PID, otm_log_facility);
}

void closelogfile() {
    closelog();
}

void console_write(const char* data, std::size_t length) {
    const bool wasStuck = consoleStuck;
    const auto deadline = timedio::deadline_in(wasStuck ? std::chrono::milliseconds::zero() : consolePatience);
    while (length > 0) {
        if (consoleKind != Console::file && !wait_for_console(deadline)) return;
        const ssize_t written = write_some(data, length);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0 && errno == EAGAIN && timedio::Clock::now() < deadline) {
            poll(nullptr, 0, 1);  // a terminal polls writable with less room than a line needs
            continue;
        }
        if (written < 0) {
            consoleStuck = consoleStuck || errno == EAGAIN;
            return;
        }
        data += written;
        length -= static_cast<std::size_t>(written);
    }
    consoleStuck = false;
}

void error(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    report(errorLevel, format, arguments);
    va_end(arguments);
}

void warning(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    report(warningLevel, format, arguments);
    va_end(arguments);
}

void debug(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    report(debugLevel, format, arguments);
    va_end(arguments);
}

void verbose_debug(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    report(verboseDebugLevel, format, arguments);
    va_end(arguments);
}

void info(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    with_line("\033[1;30m\033[0;39m ", "\n", format, arguments, [](char* line, char* message, std::size_t length, int) {
        message[length] = '\n';
        console_write(line, static_cast<std::size_t>(message - line) + length + 1);
    });
    va_end(arguments);
}

void byteinfo(const char*, ...) {}
void verbose_info(const char*, ...) {}
void logged_info(const char*, ...) {}
