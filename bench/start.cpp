// How long a command takes from its start to its first line on standard output: the median of many starts, in
// milliseconds. The command is ended after that line.

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "cbase/descriptor.h"

namespace {

// One start in milliseconds; negative when the command printed nothing.
double start_once(char** command) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) return -1;
    Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, writing.get(), STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, reading.get());
    pid_t child = -1;
    const auto before = std::chrono::steady_clock::now();
    const int failed = posix_spawnp(&child, command[0], &actions, nullptr, command, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) return -1;
    writing.reset();
    char byte = 0;
    bool line = false;
    while (!line && read(reading.get(), &byte, 1) == 1) line = byte == '\n';
    const auto after = std::chrono::steady_clock::now();
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    return line ? std::chrono::duration<double, std::milli>(after - before).count() : -1;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int starts = 50;
    if (argc < 2) return 2;
    std::vector<double> times;
    for (int i = 0; i < starts; ++i) times.push_back(start_once(argv + 1));
    std::sort(times.begin(), times.end());
    if (times.front() < 0) {
        std::fprintf(stderr, "start: %s printed no line\n", argv[1]);
        return 1;
    }
    std::printf("%.2f\n", times[times.size() / 2]);
    return 0;
}
