// soak: a mixed load on a running program, and what it did to the program's memory and descriptors.
#include <unistd.h>
#include <csignal>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <string>
#include <thread>

#include "ear.h"
#include "load.h"
#include "process.h"
#include "report.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr long warmUpDatagrams = 10'000;
constexpr long warmUpShare = 4;  // of a short run: a quarter

struct Options {
    pid_t process = 0;
    soak::Load::Ports ports{45200, 0, 45201};
    double minutes = 1;
    long datagrams = 0;
};

// The program at rest: a connection that was just served may not be closed yet.
soak::Footprint at_rest(pid_t process) {
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    return soak::footprint_of(process);
}

// A line that says how things are: in place on a terminal each second, else a new one every ten.
class Progress {
  public:
    void tell(const soak::Load& load, pid_t process, Clock::time_point start) {
        const auto now = Clock::now();
        if (now < next_) return;
        next_ = now + std::chrono::seconds(terminal_ ? 1 : 10);
        const auto footprint = soak::footprint_of(process);
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now - start).count();
        std::fprintf(stderr, "%s%6ld s %9ld datagrams %6ld kB %4ld descriptors %4ld surprises%s", terminal_ ? "\r" : "",
                     static_cast<long>(seconds), load.sent(), footprint.residentKilobytes, footprint.descriptors,
                     load.unexpected(), terminal_ ? "" : "\n");
    }
    void end() const {
        if (terminal_) std::fputc('\n', stderr);
    }

  private:
    bool terminal_ = isatty(STDERR_FILENO) == 1;
    Clock::time_point next_ = Clock::now();
};

int complain(const std::string& problem) {
    std::cerr << "soak: " << problem << std::endl;
    return 2;
}

int run(const Options& options) {
    signal(SIGPIPE, SIG_IGN);  // peers that reset are part of the load
    std::string problem;
    const auto ear = soak::Ear::open(options.ports.ear, problem);
    if (!ear) return complain(problem);
    soak::Load load(options.ports);
    if (!load.problem().empty()) return complain(load.problem());

    soak::Course course;
    course.start = soak::footprint_of(options.process);
    if (!load.begin()) return complain("cannot attach: " + (load.surprises().empty() ? "" : load.surprises()[0]));

    const auto start = Clock::now();
    const auto limit = std::chrono::duration<double, std::ratio<60>>(options.minutes);
    const auto share = [&] {
        return options.datagrams > 0 ? static_cast<double>(load.sent()) / static_cast<double>(options.datagrams)
                                     : (Clock::now() - start) / limit;
    };
    Progress progress;
    while (share() < 1 && !course.ended) {
        load.step();
        progress.tell(load, options.process, start);
        course.ended = !soak::is_running(options.process);
        if (course.warmAfter == 0 && (load.sent() >= warmUpDatagrams || share() >= 1.0 / warmUpShare)) {
            course.warmAfter = load.sent();
            course.warm = at_rest(options.process);
        }
    }
    progress.end();
    course.time = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    course.end = at_rest(options.process);
    course.notifications = ear->heard();
    course.badNotifications = ear->bad();
    return soak::report(load, course) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        Options options;
        CLI::App app("A mixed load on a running program, as a neighbour, its bad twin and the core would make it.\n");
        app.add_option("--pid", options.process, "the program's process ID")->required();
        app.add_option("--core-port", options.ports.core, "where it takes the core's calls")->required();
        app.add_option("--port", options.ports.neighbour, "where it takes datagrams")->capture_default_str();
        app.add_option("--ear-port", options.ports.ear, "where it is to send notifications")->capture_default_str();
        app.add_option("--minutes", options.minutes, "how long")->capture_default_str()->check(CLI::PositiveNumber);
        app.add_option("--datagrams", options.datagrams, "how many, instead")->check(CLI::PositiveNumber);
        app.footer("Exit status: 0 nothing wrong, 1 surprises, growth or loss, 2 no load was possible.");
        CLI11_PARSE(app, argc, argv)
        return run(options);
    } catch (const std::exception& problem) {
        return complain(problem.what());
    }
}
