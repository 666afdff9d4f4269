// The statuses that FSMCore answers with, and what to tell a person about them. 6, 7 and 8 stay free: clients use them
// for a core that they could not reach or understand.
#pragma once

#include <string>

namespace lab::core_status {

constexpr long done = 0;
constexpr long unknown_service = 2;
constexpr long malformed = 5;
constexpr long database_failed = 13;
constexpr long unknown_object = 16;
constexpr long login_refused = 29;
constexpr long unknown_action = 40;
constexpr long action_not_allowed = 41;
constexpr long value_refused = 42;
constexpr long unknown_runner = 45;
constexpr long already_running = 46;
constexpr long runner_not_started = 47;

inline std::string text(long status) {
    switch (status) {
        case done:
            return "done";
        case unknown_service:
            return "unknown service or caller";
        case malformed:
            return "malformed request";
        case database_failed:
            return "the database failed";
        case unknown_object:
            return "unknown object";
        case login_refused:
            return "user or password refused";
        case unknown_action:
            return "unknown action";
        case action_not_allowed:
            return "the object's type does not allow this action";
        case value_refused:
            return "value outside of the object's range or labels";
        case unknown_runner:
            return "unknown runner";
        case already_running:
            return "the runner is running already";
        case runner_not_started:
            return "the runner could not be started";
        default:
            return "status " + std::to_string(status);
    }
}

}  // namespace lab::core_status
