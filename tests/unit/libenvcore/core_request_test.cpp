// Requests to a core, over its real socket.
#include "libenvcore/core_request.h"

#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include "cbase/result.h"
#include "libenvcore/coremessages.h"
#include "libenvcore/fsmcoreutil.h"
#include "support/services.h"

namespace {

using libenvcore::core_request;
using libenvcore::coreSocketPath;
using libenvcore::format_core_request;
using libenvcore::Framing;

class CoreRequest : public WithServices {};

TEST_F(CoreRequest, RunOnElementCarriesEightParametersInOrder) {
    core_request all(coreSocketPath, "RUN");
    all.compose_runonelement("s", "12", "set", nullptr, "p", "o", "h", "c");
    step("all", [&] { return all.run(); });
    core_request defaults(coreSocketPath, "RUN");
    defaults.compose_runonelement("s", "12", "set", "1", nullptr, nullptr, nullptr, nullptr);
    step("defaults", [&] { return defaults.run(); });
    step("no session", [&] { return all.compose_runonelement(nullptr, nullptr, nullptr, "", "", "", "", ""); });
    step("no object", [&] { return all.compose_runonelement("", nullptr, nullptr, "", "", "", "", ""); });
    step("no action", [&] { return all.compose_runonelement("", "", nullptr, "", "", "", "", ""); });
    step("other path", [] { return std::string(core_request("/tmp/other", "F").get_last_error()); });
}

TEST_F(CoreRequest, LongParametersAreCutTo512AndLeaveAWarning) {
    core_request request(coreSocketPath, "F");
    for (const unsigned length : {510U, 511U, 600U})
        request.set_coreservicerequestparameter(std::string(length, 'x').c_str());
    EXPECT_EQ(request.run(), 0);
    const Texts sent{std::string(510, 'x'), std::string(511, 'x'), std::string(512, 'x')};
    EXPECT_EQ(takeRequests(), Texts{format_core_request("F", sent, "5", Framing::plain)});
    step("warning", [&] { return request.get_last_error(); });
}

TEST_F(CoreRequest, RepliesBecomeStatusAndParameters) {
    core_request request(coreSocketPath, "F");
    replyNext(
        Texts{"Response Status: FSMC-000\nParameter Count: 2\nParam000 Length: 1\nParam000:\nv\nParam001 Length: 0\n"});
    EXPECT_EQ(request.run(), 0);
    EXPECT_EQ(request.get_coreserviceresponseparametersnumber(), 2);
    EXPECT_STREQ(request.get_coreserviceresponseparameter(0), "v");
    EXPECT_STREQ(request.get_coreserviceresponseparameter(1), "NO-VALUE");
    replyNext(29);
    step("refused", [&] { return request.run() * request.get_coreserviceresponsestatus(); });
    replyNext(Texts{});
    step("no reply", [&] { return request.run() * request.get_coreserviceresponsestatus(); });
}

TEST_F(CoreRequest, RepliesAndAnswersBeyondTheirSizeAreCut) {
    const auto reply = [](std::size_t size) {
        const std::string parameter = std::to_string(size) + "\nParam000:\n" + std::string(size, 'v');
        return "Response Status: FSMC-000\nParameter Count: 1\nParam000 Length: " + parameter + "\n";
    };
    const std::size_t fits = 1024 - (reply(900).size() - 900);
    for (const auto& [size, status] : {std::pair(fits, 0), std::pair(fits + 2, result::malformedReply)}) {
        replyNext(Texts{reply(size)});
        prepare([&, expected = status] {
            EXPECT_EQ(fsmcore_request(coreSocketPath, "F", 0, nullptr, nullptr, nullptr, "5"), expected);
        });
    }
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const Descriptor caller(ends[0]);
    std::string value(2000, 'v');
    char* parameters[] = {value.data()};
    EXPECT_EQ(fsmcore_response(ends[1], 0, 1, parameters), 0);
    close(ends[1]);
    char answer[4096];
    EXPECT_EQ(recv(caller.get(), answer, sizeof answer, MSG_WAITALL), 1023);
}

TEST_F(CoreRequest, CoreThatIsDownIsTriedFiveTimes) {
    core_request request("/TMP/kova_variables/sockets/kova_fsmcore.socket", "F");  // case counts for files alone
    const Texts messages = messages_of([&] { EXPECT_EQ(request.run(), -1); });
    EXPECT_EQ(request.get_coreserviceresponsestatus(), 6);
    EXPECT_EQ(messages.size(), 6U);
    EXPECT_EQ(messages.back(), "FSMCoreutil->fsmcore_request error opening socket FSMCore clientside for function 'F'");
}

TEST_F(CoreRequest, LengthManagedRepliesMayComeInPieces) {
    const std::string reply = "Response Status: FSMC-003\nParameter Count: 0\n\n";
    const std::string line = "lengthresponseis: " + std::to_string(reply.size()) + "\n";
    for (const auto& [pieces, status] : {std::pair<Texts, int>{{line + reply}, 3},
                                         {{"Len", line.substr(3), reply.substr(0, 30), reply.substr(30)}, 3},
                                         {{reply}, 8},
                                         {{"LengthResponseIs: x\n" + reply}, 8},
                                         {{line + "short"}, 8},
                                         {{"LengthResponseIs: -1\n"}, 8},
                                         {{"LengthResponseIs: 1048577\n" + reply}, 8}}) {
        replyNext(pieces);
        int result = 0;
        messages_of(
            [&] { result = fsmcore_request_lengthmgm(coreSocketPath, "F", 0, nullptr, nullptr, nullptr, "5"); });
        EXPECT_EQ(result, status) << pieces[0];
        EXPECT_EQ(takeRequests(), Texts{format_core_request("F", {}, "5", Framing::lengthManaged)});
    }
}

}  // namespace
