#include "harness/child.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include "common/text.h"

namespace harness {

bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

Child::Child(std::vector<std::string> command, const std::string& errors, Standard standard) {
    std::array<int, 2> ends{-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (standard == Standard::open) {
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    } else {
        posix_spawn_file_actions_addclose(&actions, STDIN_FILENO);
        posix_spawn_file_actions_addclose(&actions, STDOUT_FILENO);
    }
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawnattr_t attributes;  // no signal ignored, whatever this process does with its own
    posix_spawnattr_init(&attributes);
    sigset_t all;
    sigfillset(&all);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (std::string& word : command) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const int problem = posix_spawnp(&pid_, arguments[0], &actions, &attributes, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    close(ends[1]);
    pipe_ = ends[0];
    if (problem != 0) throw std::system_error(problem, std::generic_category(), command[0]);
    reader_ = std::thread([this] { read(); });
}

Child::~Child() {
    if (!ends(std::chrono::milliseconds(0))) {
        signal(SIGKILL);
        ends();
    }
    hangUp();
}

void Child::read() {
    std::array<char, 65536> buffer{};
    while (!stop_) {
        pollfd readable{pipe_, POLLIN, 0};
        constexpr int untilNextLook = 20;
        if (poll(&readable, 1, untilNextLook) <= 0) continue;
        const ssize_t count = ::read(pipe_, buffer.data(), buffer.size());
        if (count <= 0) return;
        const std::lock_guard lock(mutex_);
        output_.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

std::string Child::output() const {
    const std::lock_guard lock(mutex_);
    return output_;
}

bool Child::prints(const std::string& text) const {
    return eventually([&] {
        const std::lock_guard lock(mutex_);
        return output_.find(text) != std::string::npos;
    });
}

void Child::stopReading() {
    stop_ = true;
    if (reader_.joinable()) reader_.join();
}

void Child::hangUp() {
    stopReading();
    if (pipe_ >= 0) close(pipe_);
    pipe_ = -1;
}

void Child::signal(int number) const {
    if (!status_) kill(pid_, number);
}

void Child::freeze() const {
    signal(SIGSTOP);
    siginfo_t stopped{};
    waitid(P_PID, static_cast<id_t>(pid_), &stopped, WSTOPPED | WEXITED | WNOWAIT);
}

std::optional<int> Child::ends(std::chrono::milliseconds patience) {
    eventually(
        [this] {
            int status = 0;
            if (!status_ && waitpid(pid_, &status, WNOHANG) == pid_)
                status_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
            return status_.has_value();
        },
        patience);
    return status_;
}

std::size_t Child::descriptors() const {
    const std::filesystem::directory_iterator folder("/proc/" + std::to_string(pid_) + "/fd");
    return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
}

std::size_t Child::residentKilobytes() const {
    const std::string status = lab::file_text("/proc/" + std::to_string(pid_) + "/status");
    return std::stoul(status.substr(status.find("VmRSS:") + 6));
}

double Child::cpuSeconds() const {
    const std::string stat = lab::file_text("/proc/" + std::to_string(pid_) + "/stat");
    std::istringstream fields(stat.substr(stat.rfind(')') + 2));  // from the third field on
    const std::vector<std::string> values(std::istream_iterator<std::string>(fields), {});
    constexpr std::size_t userTime = 11;
    constexpr std::size_t systemTime = 12;
    const double ticks = std::stod(values.at(userTime)) + std::stod(values.at(systemTime));
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

}  // namespace harness
