#include "fuzztarget.h"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

// Log lines cost most of a run when somebody reads them: none goes to a console, none to the machine's system log.
bool silence() {
    setlogmask(LOG_MASK(LOG_EMERG));
    const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const bool silent = nothing >= 0 && dup2(nothing, STDOUT_FILENO) >= 0;
    close(nothing);
    return silent;
}

const bool silent = silence();

}  // namespace

namespace fuzz {

void require(bool holds, const char* claim) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", claim);
    std::abort();
}

std::string bytes_of(const std::uint8_t* data, std::size_t size) {
    return {data, data + size};
}

std::string text_of(const std::uint8_t* data, std::size_t size) {
    const std::string bytes = bytes_of(data, size);
    return bytes.substr(0, bytes.find('\0'));
}

std::string take_line(std::string& rest) {
    const std::size_t end = rest.find('\n');
    std::string line = rest.substr(0, end);
    rest.erase(0, end == std::string::npos ? end : end + 1);
    return line;
}

}  // namespace fuzz
