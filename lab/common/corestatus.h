// The statuses that FSMCore answers with, and what to tell a person about them. 6, 7 and 8 stay free: clients use them
// for a core that they could not reach or understand.
#pragma once

#include <array>
#include <string>
#include <utility>

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
    static constexpr std::array<std::pair<long, const char*>, 12> texts{{
        {done, "done"},
        {unknown_service, "unknown service or caller"},
        {malformed, "malformed request"},
        {database_failed, "the database failed"},
        {unknown_object, "unknown object"},
        {login_refused, "user or password refused"},
        {unknown_action, "unknown action"},
        {action_not_allowed, "the object's type does not allow this action"},
        {value_refused, "value outside of the object's range or labels"},
        {unknown_runner, "unknown runner"},
        {already_running, "the runner is running already"},
        {runner_not_started, "the runner could not be started"},
    }};
    for (const auto& [known, text] : texts) {
        if (known == status) return text;
    }
    return "status " + std::to_string(status);
}

}  // namespace lab::core_status
