// The runners that the core keeps: child processes whose command line is in the database. It reads their status line,
// keeps their output flowing, writes their state into their row, and starts them again when they end with a failure.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cbase/descriptor.h"
#include "common/database.h"
#include "common/eventloop.h"

namespace lab {

struct RunnerSettings {
    bool none = false;     // accept commands, start nothing: someone else starts the program
    std::string program;   // instead of the first word of every command line
    std::string log_file;  // where their output goes; empty: our own
    std::chrono::milliseconds restart_delay{500};
};

class Runners {
  public:
    // Borrows loop and database.
    Runners(EventLoop& loop, Database& database, RunnerSettings settings);

    // Forgets what an earlier core wrote into the rows and starts every runner with startup=1.
    void start_all();
    // Both take a runner's record ID and return a core_status.
    long start(long id);
    long quit(long id);
    // Quits them all and calls `gone` when the last has ended.
    void stop(std::function<void()> gone);
    // After SIGCHLD: deals with those that have ended.
    void reap();

  private:
    enum class State { stopped = 0, starting = 1, running = 2, failed = 3 };
    struct Runner {
        pid_t pid = -1;  // -1 while it waits for its restart
        Descriptor output;
        std::string partial_line;
        bool announced = false;
        bool quitting = false;
        EventLoop::Clock::time_point started;
        std::chrono::milliseconds delay{0};  // before the last restart
        std::optional<EventLoop::TimerId> timer;
    };

    std::optional<std::string> command_of(long id);
    void store(long id, State state, long pid, long port);
    bool spawn(Runner& runner, std::vector<std::string> words, std::string& problem);
    void read_output(long id);
    void take_line(long id, Runner& runner, const std::string& line);
    void ended(long id, int wait_status);
    void restart_later(long id, const std::string& why);
    void set_timer(Runner& runner, std::chrono::milliseconds delay, std::function<void()> due);
    void forget(long id);

    EventLoop& loop_;
    Database& database_;
    RunnerSettings settings_;
    std::ofstream log_;
    std::map<long, Runner> runners_;
    std::function<void()> gone_;
};

}  // namespace lab
