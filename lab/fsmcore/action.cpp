#include "fsmcore/action.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <utility>

#include "common/corestatus.h"
#include "common/text.h"

namespace lab {

namespace {

constexpr double tolerance = 1e-6;

// `target` on the grid of the range's steps; false when it lies outside or between two steps.
bool fit(const ValueRange& range, double target, std::string& result) {
    if (!(target >= range.min - tolerance && target <= range.max + tolerance)) {
        return false;
    }
    if (range.step > 0) {
        const double steps = std::round((target - range.min) / range.step);
        const double on_grid = range.min + steps * range.step;
        if (std::abs(on_grid - target) > tolerance) {
            return false;
        }
        target = on_grid;
    }
    result = short_fraction(target);
    return true;
}

size_t position(const ValueRange& range, const std::string& value) {
    const auto found = std::find(range.allowed.begin(), range.allowed.end(), value);
    return static_cast<size_t>(found - range.allowed.begin());
}

// The value `steps` further on. Values that are no number count from the lower end.
bool move_by(const ValueRange& range, const std::string& current, double steps, bool stop_at_ends,
             std::string& result) {
    ValueRange places = range;
    double from = to_fraction(current).value_or(range.min);
    if (!range.allowed.empty()) {
        places.min = 0;
        places.max = static_cast<double>(range.allowed.size() - 1);
        places.step = 1;
        from = static_cast<double>(position(range, current) % range.allowed.size());
    } else if (!range.ranged) {
        result = short_fraction(to_fraction(current).value_or(0) + steps);
        return true;
    }
    double target = from + steps * (places.step > 0 ? places.step : 1);
    if (stop_at_ends) {
        target = std::clamp(target, places.min, std::max(places.min, places.max));
    }
    if (!fit(places, target, result)) {
        return false;
    }
    if (!range.allowed.empty()) {
        result = range.allowed[static_cast<size_t>(std::lround(target))];
    }
    return true;
}

bool set_value(const ValueRange& range, const std::string& value, std::string& result) {
    if (!range.allowed.empty()) {
        result = value;
        return position(range, value) < range.allowed.size();
    }
    if (range.ranged) {
        const auto number = to_fraction(value);
        return number && fit(range, *number, result);
    }
    result = value;
    return true;
}

std::string upper_end(const ValueRange& range) {
    return !range.allowed.empty() ? range.allowed.back() : range.ranged ? short_fraction(range.max) : "1";
}

std::string lower_end(const ValueRange& range) {
    return !range.allowed.empty() ? range.allowed.front() : range.ranged ? short_fraction(range.min) : "0";
}

bool toggle(const ValueRange& range, const std::string& current, std::string& result) {
    if (!range.allowed.empty()) {
        result = range.allowed[(position(range, current) + 1) % range.allowed.size()];
    } else {
        result = current == lower_end(range) ? upper_end(range) : lower_end(range);
    }
    return true;
}

using Perform =
    std::function<bool(const ValueRange&, const std::string& current, const std::string& value, std::string&)>;

const std::array<std::pair<std::string_view, Perform>, 7>& actions() {
    using Text = const std::string&;
    static const std::array<std::pair<std::string_view, Perform>, 7> table{{
        {"set", [](const ValueRange& r, Text, Text value, std::string& out) { return set_value(r, value, out); }},
        {"toggle", [](const ValueRange& r, Text now, Text, std::string& out) { return toggle(r, now, out); }},
        {"up", [](const ValueRange& r, Text now, Text, std::string& out) { return move_by(r, now, 1, true, out); }},
        {"down", [](const ValueRange& r, Text now, Text, std::string& out) { return move_by(r, now, -1, true, out); }},
        {"step",
         [](const ValueRange& r, Text now, Text value, std::string& out) {
             const auto steps = to_number(value);
             return steps && move_by(r, now, static_cast<double>(*steps), false, out);
         }},
        {"turn-on", [](const ValueRange& r, Text, Text, std::string& out) { return out = upper_end(r), true; }},
        {"turn-off", [](const ValueRange& r, Text, Text, std::string& out) { return out = lower_end(r), true; }},
    }};
    return table;
}

const Perform* find_action(std::string_view action) {
    for (const auto& [name, perform] : actions()) {
        if (equal_ignoring_case(name, action)) {
            return &perform;
        }
    }
    return nullptr;
}

}  // namespace

std::vector<std::string> label_values(std::string_view labels) {
    std::vector<std::string> values;
    for (const std::string& item : split(labels, ',')) {
        const size_t arrow = item.find("=>");
        if (arrow != std::string::npos && arrow > 0) {
            values.push_back(item.substr(0, arrow));
        }
    }
    return values;
}

bool is_known_action(std::string_view action) {
    return find_action(action) != nullptr;
}

long apply_action(const ValueRange& range, const std::string& current, std::string_view action,
                  const std::string& value, std::string& result) {
    const Perform* perform = find_action(action);
    if (perform == nullptr) {
        return core_status::unknown_action;
    }
    return (*perform)(range, current, value, result) ? core_status::done : core_status::value_refused;
}

}  // namespace lab
