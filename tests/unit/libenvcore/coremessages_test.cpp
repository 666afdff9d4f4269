// The core's text protocol, calls, replies and requests: every form that is refused, and the exact texts.
#include "libenvcore/coremessages.h"

#include <gtest/gtest.h>

#include <string>

#include "support/catching.h"

namespace {

using namespace libenvcore;

TEST(CoreCall, MalformedOnesAreRefusedWithTheLineAtFault) {
    for (const auto& c : cases(__FILE__, "malformed calls")) {
        std::string error;
        EXPECT_FALSE(parse_core_call(c[0].get<std::string>(), error)) << c;
        EXPECT_EQ(error, c[1]) << c[0];
    }
}

TEST(CoreCall, WellFormedOnesAreTakenInBothSpellings) {
    std::string error;
    for (const auto& c : cases(__FILE__, "calls")) {
        const auto call = parse_core_call(c[0].get<std::string>(), error);
        ASSERT_TRUE(call) << error;
        EXPECT_EQ(call->request + std::to_string(call->waittime), c[1]);
        EXPECT_EQ(call->parameters, c[2].get<Texts>());
    }
    const std::string value(512, 'v');
    const auto cut = parse_core_call(
        "Request: X\nParameter Count: 1\nParam000 Length: 1\nParam000: \n" + value + "\nWaittime: 5\n\n", error);
    EXPECT_EQ(cut->parameter(0) + cut->parameter(1), value.substr(1));
}

TEST(CoreCall, AnnouncesItsLengthInItsFirstLine) {
    for (const auto& c : cases(__FILE__, "lengths")) {
        const std::string text = c[0];
        std::string error;
        EXPECT_EQ(announces_length(text) ? parse_call_length(text, error) : -1,
                  c[1].is_null() ? std::nullopt : std::optional<long>(c[1]))
            << c;
        EXPECT_EQ(error, c[2]);
    }
    EXPECT_EQ(find_call("LengthRequestIs: 9\nrequest: X"), 19U);
    EXPECT_EQ(find_call("LengthRequestIs: 9\nReques"), std::string::npos);
}

TEST(CoreTexts, AreExact) {
    EXPECT_EQ(format_core_reply(0, {}), "Response Status: FSMC-000\nParameter Count: 0\n\n");
    const Texts values{"ab", ""};
    const Texts texts = cases(__FILE__, "texts")[0];
    EXPECT_EQ(format_core_reply(7, values), texts[0]);
    EXPECT_EQ(format_core_request("F", values, "5", Framing::plain), texts[1]);
    EXPECT_EQ(format_core_request("F", values, "5", Framing::lengthManaged), texts[2]);
}

TEST(CoreReply, IsReadOrRefusedWithItsReason) {
    for (const auto& c : cases(__FILE__, "replies")) {
        std::string outcome;
        if (const auto reply = parse_core_reply(c[0].get<std::string>(), "F", outcome)) {
            outcome = std::to_string(reply->status);
            for (const std::string& parameter : reply->parameters) outcome += " " + parameter;
        }
        EXPECT_EQ(outcome, c[1]) << c[0];
    }
}

}  // namespace
