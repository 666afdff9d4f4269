// Misbehaviour on command. A service reads its faults file at every request; each line of it is one fault: words that
// say what goes wrong, and which requests it meets. The TextServer and the two services carry the faults out.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

struct Fault {
    bool refuse = false;
    bool close_early = false;
    bool garbage = false;
    std::chrono::milliseconds delay{0};
    std::optional<size_t> cut;
    std::optional<size_t> stall;
    std::optional<std::string> raw;
    long wrong_length = 0;                 // added to the announced length (DBManager)
    std::optional<std::string> sql_error;  // the error text (DBManager)
    std::optional<long> status;            // answered instead of acting (FSMCore)

    std::string match;          // only requests that contain this text
    std::optional<long> times;  // only so often
};

// What the words mean, for the services' --help.
extern const char* const fault_help;

// One line of a faults file. Nothing when a word is unknown or its value is wrong, the reason then in `problem`.
std::optional<Fault> parse_fault(std::string_view line, std::string& problem);

class FaultPlan {
  public:
    // `path` empty: no faults, ever. The file may come, change and go while the service runs.
    explicit FaultPlan(std::string path) : path_(std::move(path)) {}

    // True when the connection just accepted is to be closed at once.
    bool refuses_connection();
    // The first fault that meets `request`; an empty one when it is to be served properly.
    Fault for_request(std::string_view request);

  private:
    void refresh();
    static bool used_up(Fault& fault);

    std::string path_;
    std::string text_;  // as last parsed: counters start again when the file changes
    std::vector<Fault> faults_;
};

}  // namespace lab
