// What an action does to an object's value, given how the value is rendered. Pure: no database.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lab {

// A rendering as far as actions care: allowed values in order, or a range. Neither when the object has no rendering.
struct ValueRange {
    std::vector<std::string> allowed;  // 0, 1, ... of the option labels
    bool ranged = false;
    double min = 0;
    double max = 0;
    double step = 0;
};

// The values of an option labels text: 0=>"Off",1=>"On" gives 0, 1.
std::vector<std::string> label_values(std::string_view labels);

bool is_known_action(std::string_view action);

// Performs `action` on `current`. `value` is what "set" sets and how many steps "step" goes; other actions ignore it.
// "up" and "down" stop at the ends of the range, "set" and "step" are refused beyond them.
// Returns core_status::done with the new value in `result`, or the status that refuses it.
long apply_action(const ValueRange& range, const std::string& current, std::string_view action,
                  const std::string& value, std::string& result);

}  // namespace lab
