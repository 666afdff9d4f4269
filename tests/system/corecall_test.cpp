// Calls of the core on the commands endpoint: the malformed are closed unanswered, the well-formed answered at once.

#include <chrono>
#include <thread>

#include "common/text.h"
#include "harness/world.h"

using namespace harness;

namespace {

using CoreCalls = World;

const std::string acknowledged = "Response Status: FSMC-000\nParameter Count: 0\n\n";

const std::string good = coreCall("7", "ping", "1");

TEST_F(CoreCalls, MalformedOnesAreClosedUnansweredAndTheProcessGoesOn) {
    Lines calls{"", std::string("\0Request: SERVICE_RUNONELEMENT\n", 31), std::string(4000, 'x'),
                // More than one receive brings, without a length line.
                replaced(good, "ping", std::string(1024, 'p')), "LengthRequestIs: 70000\n" + good};
    for (const std::string& call : expected("malformed calls")) calls.push_back(lab::unescaped(call));
    for (const char* count : {"", "x", "6x", "-1", "65", "5", "7", "99999999999999999999", "4294967302", "2147483647"})
        calls.push_back(replaced(good, "Count: 6", std::string("Count: ") + count));
    for (const std::size_t cut : {1U, 8U, 29U, 40U, 50U, 70U}) calls.push_back(good.substr(0, good.size() - cut));
    startFirstRun();
    for (const std::string& call : calls) EXPECT_EQ(program().call(call), "") << call;
    EXPECT_EQ(program().timesLogged("didReceiveCallFromCore"), 0U);
    EXPECT_EQ(program().call(good), acknowledged);
    EXPECT_EQ(program().timesLogged("didReceiveCallFromCore"), 1U);
    attach();
}

TEST_F(CoreCalls, WellFormedOnesAreAnsweredAndHandedOn) {
    const std::string handed = "m2mclienthandler->didReceiveCallFromCore  ";
    const Lines lines = expected("well-formed calls");
    start();
    for (std::size_t i = 0; i + 1 < lines.size(); i += 2) {
        EXPECT_EQ(program().call(lab::unescaped(lines[i])), lines[i + 1] == "closed" ? "" : acknowledged) << lines[i];
        if (lines[i + 1].find(',') != std::string::npos) expectLog(handed + lines[i + 1] + ", \n");
    }
    EXPECT_EQ(program().timesLogged(handed), 5U);
    const std::string value(600, 'v');
    EXPECT_EQ(program().call(replaced(replaced(good, "ping", value), "Length: 4", "Length: 600")), acknowledged);
    expectLog(handed + "7, NO-VALUE, " + value.substr(0, 511) + ", 1\n");
}

TEST_F(CoreCalls, LengthManagedOneMayComeInManySegments) {
    start();
    std::string more;
    for (int i = 6; i < 50; ++i) {
        const std::string tag = std::string(i < 10 ? "Param00" : "Param0") + std::to_string(i);
        more.append(tag).append(" Length: 100\n").append(tag).append(": \n").append(100, 'p') += '\n';
    }
    const std::string text = replaced(replaced(good, "Waittime", more + "Waittime"), "Count: 6", "Count: 50");
    ASSERT_GT(text.size(), 4096U);
    const auto caller = dial(program().callPort());
    sendBytes(caller, "LengthRequestIs: " + std::to_string(text.size()) + "\n");
    for (std::size_t at = 0; at < text.size(); at += 1000) {
        sendBytes(caller, std::string_view(text).substr(at, 1000));
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(readAll(caller), acknowledged);
    expectLog("didReceiveCallFromCore  7, NO-VALUE, ping, 1\n");
}

TEST_F(CoreCalls, ThousandsLeaveNoDescriptorBehind) {
    start();
    const std::size_t before = program().child().descriptors();
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(program().call("junk"), "");
        EXPECT_EQ(program().call(good), acknowledged);
        reset(dial(program().callPort()));
    }
    EXPECT_TRUE(eventually([&] { return program().child().descriptors() <= before; }));
}

// Both endpoints readable in one cycle: the call first, then the datagram.
TEST_F(CoreCalls, ComeBeforeADatagramThatWaitsWithThem) {
    start({"--noSSL"});
    program().child().freeze();
    const auto peer = dial(program().port());
    sendBytes(peer, request("after the call", ""));
    const auto caller = dial(program().callPort());
    sendBytes(caller, good);
    program().child().thaw();
    EXPECT_EQ(readAll(caller), acknowledged);
    EXPECT_EQ(readAll(peer), response("after the call", 2, ""));
    EXPECT_TRUE(program().child().prints("after the call"));
    const std::string output = program().child().output();
    EXPECT_LT(output.find("didReceiveCallFromCore"), output.find("after the call"));
}

}  // namespace
