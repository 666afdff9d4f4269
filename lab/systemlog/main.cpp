// systemlog: a system log of one's own. It serves the socket that syslog(3) writes to and appends every message to a
// file, one line each, so that the sandbox can show what a program logged without touching the machine's log.

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>

#include "cbase/descriptor.h"
#include "common/sockets.h"

namespace {

constexpr std::array<const char*, 24> facilities = {"kern",   "user",   "mail",   "daemon", "auth",     "syslog",
                                                    "lpr",    "news",   "uucp",   "cron",   "authpriv", "ftp",
                                                    "ntp",    "audit",  "alert",  "clock",  "local0",   "local1",
                                                    "local2", "local3", "local4", "local5", "local6",   "local7"};
constexpr std::array<const char*, 8> severities = {"emerg",   "alert",  "crit", "err",
                                                   "warning", "notice", "info", "debug"};

// "<11>text" becomes "user.err text"; what carries no valid priority stays as it came.
std::string decode_priority(std::string_view message) {
    constexpr std::size_t highest = facilities.size() * severities.size() - 1;
    const std::size_t end = message.find('>');
    if (message.empty() || message.front() != '<' || end == std::string_view::npos || end < 2 || end > 4) {
        return std::string(message);
    }
    std::size_t priority = 0;
    for (const char digit : message.substr(1, end - 1)) {
        if (digit < '0' || digit > '9') return std::string(message);
        priority = priority * 10 + static_cast<std::size_t>(digit - '0');
    }
    if (priority > highest) return std::string(message);
    return std::string(facilities.at(priority / severities.size())) + "." +
           severities.at(priority % severities.size()) + " " + std::string(message.substr(end + 1));
}

// One message is one line: a line break in it is written as \n, any other control character as \xHH. Backslashes stay
// single, so that the JSON in a message can be searched for as it was sent.
std::string one_line(std::string_view message) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string line;
    line.reserve(message.size() + 1);
    for (const char character : message) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '\n') {
            line += "\\n";
        } else if ((byte < 0x20 && character != '\t') || byte == 0x7f) {
            line += "\\x";
            line += digits[byte >> 4U];
            line += digits[byte & 0x0fU];
        } else {
            line += character;
        }
    }
    line += '\n';
    return line;
}

int complain(const std::string& what) {
    std::cerr << "systemlog: " << what << ": " << std::strerror(errno) << '\n';
    return 1;
}

// Appends message after message; returns only when the socket or the file fails. The line goes out in one write, so
// that a reader of the file never sees half of it.
int serve(int log, int file) {
    std::array<char, 65536> message;  // syslog(3) sends no longer ones
    for (;;) {
        const ssize_t size = recv(log, message.data(), message.size(), 0);
        if (size < 0) {
            if (errno == EINTR) continue;
            return complain("cannot receive");
        }
        const std::string line = one_line(decode_priority({message.data(), static_cast<std::size_t>(size)}));
        if (write(file, line.data(), line.size()) < 0) return complain("cannot write");
    }
}

int run(int argc, char** argv) {
    std::string socketPath = "/dev/log";
    std::string filePath = "/tmp/system.log";
    CLI::App app{
        "Serves a system log socket and appends each message to a file, one line each.\n"
        "Once messages are taken, the socket's path is printed and the standard output closed: $(systemlog &) waits\n"
        "exactly until then. A line reads FACILITY.SEVERITY TEXT; line breaks in the text are written as \\n, other\n"
        "control characters as \\xHH, backslashes stay as they are."};
    app.add_option("--socket", socketPath, "socket to serve")->capture_default_str();
    app.add_option("--file", filePath, "file to append to")->capture_default_str();
    CLI11_PARSE(app, argc, argv)

    const Descriptor file(open(filePath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
    if (!file.valid()) return complain("cannot open " + filePath);
    std::string problem;
    const Descriptor log = lab::bind_to_path(socketPath, SOCK_DGRAM, problem);
    // Any user may log, as on a real machine.
    if (!log.valid() || chmod(socketPath.c_str(), 0666) < 0) return complain("cannot serve " + socketPath);

    std::cout << socketPath << std::endl;
    const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nothing < 0 || dup2(nothing, STDOUT_FILENO) < 0) return complain("cannot close the standard output");
    return serve(log.get(), file.get());
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "systemlog: %s\n", problem.what());
        return 1;
    }
}
