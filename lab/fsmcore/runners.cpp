#include "fsmcore/runners.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <iostream>
#include <system_error>
#include <utility>

#include "common/corestatus.h"
#include "common/text.h"

namespace lab {

namespace {

constexpr std::chrono::seconds longest_delay{10};
// A runner that lived this long was well: its next restart is a quick one again.
constexpr std::chrono::seconds well{60};
// For the status line after the start, and for the end after SIGTERM.
constexpr std::chrono::seconds patience{10};
constexpr size_t longest_output_line = 1U << 20U;

struct SpawnActions {
    posix_spawn_file_actions_t actions{};
    SpawnActions() { posix_spawn_file_actions_init(&actions); }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions); }
    SpawnActions(SpawnActions&&) = delete;  // nor copied
};

// A child starts with no signal blocked or ignored, whatever this process does with its own.
struct SpawnAttributes {
    posix_spawnattr_t attributes{};
    SpawnAttributes() {
        posix_spawnattr_init(&attributes);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnAttributes() { posix_spawnattr_destroy(&attributes); }
    SpawnAttributes(SpawnAttributes&&) = delete;  // nor copied
};

void say(long id, const std::string& what) {
    std::cout << "fsmcore: runner " << id << " " << what << std::endl;
}

// Never kill(-1): that would be everyone.
void kill_if_alive(pid_t pid) {
    if (pid > 0) ::kill(pid, SIGKILL);
}

std::string how_it_ended(int wait_status) {
    if (WIFSIGNALED(wait_status)) return "was killed by signal " + std::to_string(WTERMSIG(wait_status));
    return "ended with status " + std::to_string(WEXITSTATUS(wait_status));
}

}  // namespace

Runners::Runners(EventLoop& loop, Database& database, RunnerSettings settings)
    : loop_(loop), database_(database), settings_(std::move(settings)) {
    if (!settings_.log_file.empty()) log_.open(settings_.log_file, std::ios::app | std::ios::binary);
}

void Runners::start_all() {
    if (settings_.none) return;
    database_.run("UPDATE KOVAD_OBJECT SET STATUS_ID=0, VALUES_TYPE=-1, MIN_VALUE=-1 WHERE TYPE='CSCMD'");
    for (const Row& row : database_.run("SELECT ID, OPTIONALP FROM KOVAD_OBJECT WHERE TYPE='CSCMD'").rows) {
        if (option_of(row[1], "startup") == "1") start(to_number(row[0]).value_or(-1));
    }
}

std::optional<std::string> Runners::command_of(long id) {
    const QueryResult found =
        database_.run("SELECT MSP FROM KOVAD_OBJECT WHERE TYPE='CSCMD' AND ID=?", {std::to_string(id)});
    return found.rows.empty() ? std::nullopt : std::optional(found.value());
}

void Runners::store(long id, State state, long pid, long port) {
    database_.run(
        "UPDATE KOVAD_OBJECT SET STATUS_ID=?, VALUES_TYPE=?, MIN_VALUE=? WHERE TYPE='CSCMD' AND ID=?",
        {std::to_string(static_cast<int>(state)), std::to_string(pid), std::to_string(port), std::to_string(id)});
}

bool Runners::spawn(Runner& runner, std::vector<std::string> words, std::string& problem) {
    std::array<int, 2> ends{-1, -1};
    if (words.empty() || ::pipe2(ends.data(), O_CLOEXEC) != 0) {
        problem = words.empty() ? "its command line is empty" : "no pipe";
        return false;
    }
    runner.output.reset(ends[0]);
    const Descriptor child_output(ends[1]);
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);  // NOLINT(*-vararg)

    if (!settings_.program.empty()) words[0] = settings_.program;
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);

    SpawnActions actions;
    const SpawnAttributes attributes;
    posix_spawn_file_actions_addopen(&actions.actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions.actions, child_output.get(), STDOUT_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&actions.actions, STDERR_FILENO + 1);
    const int error =
        ::posix_spawnp(&runner.pid, arguments[0], &actions.actions, &attributes.attributes, arguments.data(), environ);
    if (error != 0) {
        runner.pid = -1;
        problem = words[0] + ": " + std::generic_category().message(error);
    }
    return error == 0;
}

long Runners::start(long id) {
    const auto command = command_of(id);
    if (!command) return core_status::unknown_runner;
    if (settings_.none) {
        say(id, "is started by someone else (--no-runners)");
        return core_status::done;
    }
    Runner& runner = runners_[id];
    if (runner.pid >= 0) return core_status::already_running;
    if (runner.timer) loop_.cancel(*std::exchange(runner.timer, std::nullopt));
    runner.partial_line.clear();
    runner.announced = false;
    runner.quitting = false;
    runner.started = EventLoop::Clock::now();
    std::string problem;
    if (!spawn(runner, split_words(*command), problem)) {
        say(id, "could not be started: " + problem);
        store(id, State::failed, -1, -1);
        runners_.erase(id);
        return core_status::runner_not_started;
    }
    say(id, "started with process ID " + std::to_string(runner.pid) + ": " + *command);
    store(id, State::starting, runner.pid, -1);
    loop_.watch(runner.output.get(), EPOLLIN, [this, id](uint32_t) { read_output(id); });
    set_timer(runner, patience, [this, id] {
        say(id, "has not printed its status line, killing it");
        kill_if_alive(runners_[id].pid);
    });
    return core_status::done;
}

void Runners::set_timer(Runner& runner, std::chrono::milliseconds delay, std::function<void()> due) {
    if (runner.timer) loop_.cancel(*runner.timer);
    runner.timer = loop_.after(delay, [&runner, due = std::move(due)] {
        runner.timer.reset();
        due();
    });
}

void Runners::read_output(long id) {
    Runner& runner = runners_[id];
    std::array<char, 4096> buffer{};
    ssize_t count = 0;
    while ((count = ::read(runner.output.get(), buffer.data(), buffer.size())) > 0) {
        runner.partial_line.append(buffer.data(), static_cast<size_t>(count));
        size_t begin = 0;
        for (size_t end = 0; (end = runner.partial_line.find('\n', begin)) != std::string::npos; begin = end + 1)
            take_line(id, runner, runner.partial_line.substr(begin, end - begin));
        runner.partial_line.erase(0, begin);
        if (runner.partial_line.size() > longest_output_line)
            take_line(id, runner, std::exchange(runner.partial_line, {}));
    }
    if (count == 0 || errno != EAGAIN) {
        loop_.unwatch(runner.output.get());
        runner.output.reset();
        if (!runner.partial_line.empty()) take_line(id, runner, std::exchange(runner.partial_line, {}));
    }
}

void Runners::take_line(long id, Runner& runner, const std::string& line) {
    const auto numbers = split(line, ',');
    if (!runner.announced && numbers.size() == 2 && to_number(numbers[0]) && to_number(numbers[1])) {
        runner.announced = true;
        if (runner.timer && !runner.quitting) loop_.cancel(*std::exchange(runner.timer, std::nullopt));
        if (numbers[0] == "0") {
            say(id, "is running and takes calls on port " + numbers[1]);
            store(id, State::running, runner.pid, *to_number(numbers[1]));
        } else {
            say(id, "says that it could not start: " + line);
        }
        return;
    }
    if (log_.is_open()) {
        log_ << "[runner " << id << "] " << line << std::endl;
    } else {
        std::cout << "[runner " << id << "] " << line << std::endl;
    }
}

long Runners::quit(long id) {
    const auto found = runners_.find(id);
    if (found == runners_.end()) {
        // Quitting what does not run is no failure, as long as there is such a runner.
        return command_of(id) ? core_status::done : core_status::unknown_runner;
    }
    Runner& runner = found->second;
    if (runner.pid < 0) {
        say(id, "will not be started again, as asked");
        store(id, State::stopped, -1, -1);
        forget(id);
        return core_status::done;
    }
    runner.quitting = true;
    ::kill(runner.pid, SIGTERM);
    set_timer(runner, patience, [this, id] {
        say(id, "does not end, killing it");
        kill_if_alive(runners_[id].pid);
    });
    return core_status::done;
}

void Runners::stop(std::function<void()> gone) {
    gone_ = std::move(gone);
    std::vector<long> ids;
    for (const auto& [id, runner] : runners_) ids.push_back(id);
    for (const long id : ids) quit(id);
    if (runners_.empty()) gone_();
}

void Runners::reap() {
    std::vector<std::pair<long, int>> gone;
    for (const auto& [id, runner] : runners_) {
        int wait_status = 0;
        if (runner.pid >= 0 && ::waitpid(runner.pid, &wait_status, WNOHANG) == runner.pid)
            gone.emplace_back(id, wait_status);
    }
    for (const auto& [id, wait_status] : gone) ended(id, wait_status);
    if (gone_ && runners_.empty()) gone_();
}

void Runners::ended(long id, int wait_status) {
    Runner& runner = runners_[id];
    if (runner.output.valid()) {
        read_output(id);  // its last words
    }
    runner.pid = -1;
    const std::string how = how_it_ended(wait_status);
    if (runner.quitting) {
        say(id, "quit as asked, " + how);
    } else if (WIFEXITED(wait_status) && WEXITSTATUS(wait_status) == 0) {
        say(id, how + ": not started again");
    } else if (!command_of(id)) {
        say(id, how + " and has no record any more: not started again");
    } else {
        restart_later(id, how);
        return;
    }
    store(id, State::stopped, -1, -1);
    forget(id);
}

void Runners::restart_later(long id, const std::string& why) {
    Runner& runner = runners_[id];
    if (runner.output.valid()) {
        loop_.unwatch(runner.output.get());
        runner.output.reset();
    }
    const bool was_well = EventLoop::Clock::now() - runner.started > well;
    runner.delay = was_well || runner.delay.count() == 0
                       ? settings_.restart_delay
                       : std::min<std::chrono::milliseconds>(runner.delay * 2, longest_delay);
    say(id, why + ": starting it again in " + std::to_string(runner.delay.count()) + " ms");
    store(id, State::failed, -1, -1);
    set_timer(runner, runner.delay, [this, id] {
        if (start(id) == core_status::unknown_runner) {
            say(id, "has no record any more: not started again");
            forget(id);
        }
    });
}

void Runners::forget(long id) {
    Runner& runner = runners_[id];
    if (runner.timer) loop_.cancel(*runner.timer);
    if (runner.output.valid()) loop_.unwatch(runner.output.get());
    runners_.erase(id);
}

}  // namespace lab
