// A child process whose standard output is read all the time, as a well-behaved parent does, or no longer, as others
// do. Used for the program under test and for the lab's services.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace harness {

// Waits until `condition` holds; false when `patience` is over first.
bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds patience = std::chrono::seconds(20));

class Child {
  public:
    enum class Standard { open, closed };  // descriptors 0 and 1 at the start

    // Starts `command`, which is looked up in PATH. Standard error goes to the file at `errors`.
    Child(std::vector<std::string> command, const std::string& errors, Standard standard = Standard::open);
    // Kills what still runs.
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    Child(Child&&) = delete;
    Child& operator=(Child&&) = delete;

    pid_t pid() const { return pid_; }
    // What standard output has brought so far.
    std::string output() const;
    bool prints(const std::string& text) const;  // waits for it
    void stopReading();                          // keeps the pipe open, so that it fills up
    void hangUp();                               // closes the reading end

    void signal(int number) const;
    void freeze() const;  // SIGSTOP, and waits until it has stopped; what arrives meanwhile is there when it goes on
    void thaw() const { signal(SIGCONT); }
    // The exit status, 128 + N after signal N; nothing while it still runs when `patience` is over.
    std::optional<int> ends(std::chrono::milliseconds patience = std::chrono::seconds(20));

    std::size_t descriptors() const;  // how many it has open
    std::size_t residentKilobytes() const;
    double cpuSeconds() const;

  private:
    void read();

    pid_t pid_ = -1;
    int pipe_ = -1;
    std::optional<int> status_;
    mutable std::mutex mutex_;
    std::string output_;
    std::atomic<bool> stop_ = false;
    std::thread reader_;
};

}  // namespace harness
