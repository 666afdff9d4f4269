#include "fsmcore/action.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <optional>
#include <utility>

#include "common/corestatus.h"
#include "common/text.h"

namespace lab {

namespace {

constexpr double tolerance = 1e-6;

using Result = std::optional<std::string>;  // the new value; nothing when it is refused

// `target` on the grid of the range's steps; refused outside of it and between two steps.
Result fit(const ValueRange& range, double target) {
    if (!(target >= range.min - tolerance && target <= range.max + tolerance)) return std::nullopt;
    if (range.step > 0) {
        const double on_grid = range.min + std::round((target - range.min) / range.step) * range.step;
        if (std::abs(on_grid - target) > tolerance) return std::nullopt;
        target = on_grid;
    }
    return short_fraction(target);
}

size_t position(const ValueRange& range, const std::string& value) {
    const auto found = std::find(range.allowed.begin(), range.allowed.end(), value);
    return static_cast<size_t>(found - range.allowed.begin());
}

// The value `steps` further on. Values that are no number count from the lower end.
Result move_by(const ValueRange& range, const std::string& current, double steps, bool stop_at_ends) {
    const bool labelled = !range.allowed.empty();
    if (!labelled && !range.ranged) return short_fraction(to_fraction(current).value_or(0) + steps);
    ValueRange places = range;
    double from = to_fraction(current).value_or(range.min);
    if (labelled) {
        places.min = 0;
        places.max = static_cast<double>(range.allowed.size() - 1);
        places.step = 1;
        from = static_cast<double>(position(range, current) % range.allowed.size());
    }
    double target = from + steps * (places.step > 0 ? places.step : 1);
    if (stop_at_ends) target = std::clamp(target, places.min, std::max(places.min, places.max));
    const Result place = fit(places, target);
    return place && labelled ? range.allowed[static_cast<size_t>(std::lround(target))] : place;
}

Result set_value(const ValueRange& range, const std::string& value) {
    if (!range.allowed.empty()) return position(range, value) < range.allowed.size() ? Result(value) : std::nullopt;
    if (!range.ranged) return value;
    const auto number = to_fraction(value);
    return number ? fit(range, *number) : std::nullopt;
}

std::string upper_end(const ValueRange& range) {
    return !range.allowed.empty() ? range.allowed.back() : range.ranged ? short_fraction(range.max) : "1";
}

std::string lower_end(const ValueRange& range) {
    return !range.allowed.empty() ? range.allowed.front() : range.ranged ? short_fraction(range.min) : "0";
}

std::string toggle(const ValueRange& range, const std::string& current) {
    if (!range.allowed.empty()) return range.allowed[(position(range, current) + 1) % range.allowed.size()];
    return current == lower_end(range) ? upper_end(range) : lower_end(range);
}

using Perform = std::function<Result(const ValueRange&, const std::string& current, const std::string& value)>;

const std::array<std::pair<std::string_view, Perform>, 7>& actions() {
    using Range = const ValueRange&;
    using Text = const std::string&;
    static const std::array<std::pair<std::string_view, Perform>, 7> table{{
        {"set", [](Range range, Text, Text value) { return set_value(range, value); }},
        {"toggle", [](Range range, Text now, Text) { return toggle(range, now); }},
        {"up", [](Range range, Text now, Text) { return move_by(range, now, 1, true); }},
        {"down", [](Range range, Text now, Text) { return move_by(range, now, -1, true); }},
        {"step",
         [](Range range, Text now, Text value) {
             const auto steps = to_number(value);
             return steps ? move_by(range, now, static_cast<double>(*steps), false) : std::nullopt;
         }},
        {"turn-on", [](Range range, Text, Text) { return upper_end(range); }},
        {"turn-off", [](Range range, Text, Text) { return lower_end(range); }},
    }};
    return table;
}

const Perform* find_action(std::string_view action) {
    for (const auto& [name, perform] : actions()) {
        if (equal_ignoring_case(name, action)) return &perform;
    }
    return nullptr;
}

}  // namespace

std::vector<std::string> label_values(std::string_view labels) {
    std::vector<std::string> values;
    for (const std::string& item : split(labels, ',')) {
        const size_t arrow = item.find("=>");
        if (arrow != std::string::npos && arrow > 0) values.push_back(item.substr(0, arrow));
    }
    return values;
}

bool is_known_action(std::string_view action) {
    return find_action(action) != nullptr;
}

long apply_action(const ValueRange& range, const std::string& current, std::string_view action,
                  const std::string& value, std::string& result) {
    const Perform* perform = find_action(action);
    if (perform == nullptr) return core_status::unknown_action;
    const Result performed = (*perform)(range, current, value);
    result = performed.value_or("");
    return performed ? core_status::done : core_status::value_refused;
}

}  // namespace lab
