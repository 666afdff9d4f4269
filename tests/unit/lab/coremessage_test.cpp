// The core's text protocol, both directions.
#include "common/coremessage.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using lab::CoreRequest;
using lab::Parsed;

const std::string login =
    "Request: SERVICE_LOGIN\nParameter Count: 2\nParam000 Length: 4\nParam000:\nanna\n"
    "Param001 Length: 3\nParam001: \na\nb\nWaittime: 5\n\n";

TEST(CoreMessage, RequestIsCompleteOnlyWithItsLastByte) {
    CoreRequest request;
    for (size_t length = 0; length < login.size(); ++length) {
        EXPECT_EQ(lab::parse_core_request(login.substr(0, length), request), Parsed::incomplete) << length;
    }
    ASSERT_EQ(lab::parse_core_request(login, request), Parsed::complete);
    EXPECT_EQ(request.function, "SERVICE_LOGIN");
    EXPECT_EQ(request.parameters, (std::vector<std::string>{"anna", "a\nb"}));
    EXPECT_FALSE(request.length_managed);
}

TEST(CoreMessage, LengthLineIsUnderstoodAndAnsweredInKind) {
    CoreRequest request;
    ASSERT_EQ(lab::parse_core_request("LengthRequestIs: 000000042\n" + login, request), Parsed::complete);
    EXPECT_TRUE(request.length_managed);
    EXPECT_EQ(lab::compose_core_reply(7, true),
              "LengthResponseIs: 000000046\nResponse Status: FSMC-007\nParameter Count: 0\n\n");
}

TEST(CoreMessage, MalformedRequestsAreSeenAsSuch) {
    const std::vector<std::string> texts{
        "GET / HTTP/1.0\r\n",
        "Request: X\nParameter Count: 65\n",
        "Request: X\nParameter Count: -1\n",
        "Request: X\nParameter Count: 1\nParam001 Length: 1\n",
        "Request: X\nParameter Count: 1\nParam000 Length: 1\nParam000:\nab\n",
        "Request: X\nParameter Count: 1\nParam000 Length: 99999999999999999999\n",
        "Request: X\nParameter Count: 0\nWaittime: soon\n",
        "Request: X\nParameter Count: 0\nWaittime: 5\nmore\n",
    };
    for (const std::string& text : texts) {
        CoreRequest request;
        EXPECT_EQ(lab::parse_core_request(text, request), Parsed::malformed) << text;
    }
}

TEST(CoreMessage, CallToARunnerHasTagsWithABlankAndNoneForEmptyValues) {
    CoreRequest call;
    call.function = "SERVICE_RUNONELEMENT";
    call.parameters = {"200", ""};
    const std::string text =
        "Request: SERVICE_RUNONELEMENT\nParameter Count: 2\nParam000 Length: 3\nParam000: \n200\n"
        "Param001 Length: 0\nWaittime: 5\n\n";
    EXPECT_EQ(lab::compose_runner_call(call), text);
    call.length_managed = true;
    EXPECT_EQ(lab::compose_runner_call(call), "LengthRequestIs: 000000115\n" + text);
    CoreRequest back;
    ASSERT_EQ(lab::parse_core_request(text, back), Parsed::complete);
    EXPECT_EQ(back.parameters, call.parameters);
}

TEST(CoreMessage, ReplyWithoutAStatusIsNoReply) {
    EXPECT_EQ(lab::parse_core_reply(lab::compose_core_reply(29, false)), 29);
    for (const char* text : {"", "Response Status: FSMC-000", "Response Status: FSMC-abc\n", "hello\n"}) {
        EXPECT_FALSE(lab::parse_core_reply(text)) << text;
    }
}

}  // namespace
