// What actions do to values, within the ways a value can be rendered.
#include "fsmcore/action.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "common/corestatus.h"

namespace {

using lab::ValueRange;

const ValueRange on_off{{"0", "1"}, false, 0, 1, 1};
const ValueRange modes{{"0", "1", "2", "3"}, false, 0, 3, 1};
const ValueRange percent{{}, true, 0, 100, 5};
const ValueRange setpoint{{}, true, 5, 30, 0.5};
const ValueRange anything{};

struct Case {
    const ValueRange& range;
    std::string current;
    std::string action;
    std::string value;
    std::string result;  // empty: refused for its value
};

// Names the case in the test's own name, which would hold addresses otherwise.
void PrintTo(const Case& c, std::ostream* out) {
    *out << c.action << ' ' << c.value << " on " << c.current;
}

class ActionCases : public testing::TestWithParam<Case> {};

TEST_P(ActionCases, GiveTheValueOrRefuseIt) {
    const Case& c = GetParam();
    std::string result;
    const long status = lab::apply_action(c.range, c.current, c.action, c.value, result);
    EXPECT_EQ(status, c.result.empty() ? lab::core_status::value_refused : lab::core_status::done)
        << c.action << " " << c.value << " on " << c.current;
    if (!c.result.empty()) {
        EXPECT_EQ(result, c.result) << c.action << " " << c.value << " on " << c.current;
    }
}

INSTANTIATE_TEST_SUITE_P(Labels, ActionCases,
                         testing::Values(Case{on_off, "0", "set", "1", "1"}, Case{on_off, "0", "set", "2", ""},
                                         Case{on_off, "0", "set", "On", ""}, Case{on_off, "0", "toggle", "", "1"},
                                         Case{on_off, "1", "TOGGLE", "", "0"}, Case{on_off, "?", "turn-on", "", "1"},
                                         Case{modes, "3", "toggle", "", "0"}, Case{modes, "3", "up", "", "3"},
                                         Case{modes, "1", "step", "2", "3"}, Case{modes, "1", "step", "3", ""}));
INSTANTIATE_TEST_SUITE_P(Ranges, ActionCases,
                         testing::Values(Case{percent, "40", "set", "45", "45"}, Case{percent, "40", "set", "46", ""},
                                         Case{percent, "40", "set", "105", ""}, Case{percent, "40", "set", "nan", ""},
                                         Case{percent, "40", "set", "inf", ""}, Case{percent, "40", "set", "5x", ""},
                                         Case{percent, "98", "up", "", "100"}, Case{percent, "0", "down", "", "0"},
                                         Case{percent, "0", "turn-on", "", "100"},
                                         Case{percent, "40", "step", "-9", ""}, Case{setpoint, "20.5", "up", "", "21"},
                                         Case{setpoint, "20.5", "set", "20.50", "20.5"},
                                         Case{setpoint, "20.5", "set", "20.25", ""}));
INSTANTIATE_TEST_SUITE_P(Unrendered, ActionCases,
                         testing::Values(Case{anything, "", "set", "any text", "any text"},
                                         Case{anything, "7", "up", "", "8"}, Case{anything, "0", "toggle", "", "1"}));

TEST(Action, UnknownOneIsRefusedAsSuch) {
    std::string result;
    EXPECT_EQ(lab::apply_action(on_off, "0", "explode", "", result), lab::core_status::unknown_action);
}

TEST(Action, LabelValuesAreTheKeysOfTheStoredForm) {
    EXPECT_EQ(lab::label_values(R"(0=>"Off",1=>"On",junk,=>"none")"), (std::vector<std::string>{"0", "1"}));
    EXPECT_TRUE(lab::label_values("NO-VALUE").empty());
}

}  // namespace
