// Connections and datagrams as neighbours should not make them, and what the program does about them.

#include <netinet/in.h>
#include <sys/socket.h>

#include <future>

#include "common/text.h"
#include "harness/world.h"

using namespace harness;

namespace {

const std::string unit = "velklib m2mclienthandler->didReceiveCustomGatewayData ";

// The reply to what names neither function nor sender.
std::string rejection(int code = 2) {
    return response("", code, "", "", "", "");
}

using Datagrams = World;

TEST_F(Datagrams, ThatHaveNoPlaceAreRejected) {
    for (const Lines& options : {Lines{}, Lines{"--noSSL"}}) {
        start(options);
        statements();
        for (const Lines& row : table("datagrams that have no place: datagram, answer, log")) {
            EXPECT_EQ(ask(row[0]), row[1]) << row[0];
            expectLog(row[2]);
        }
        EXPECT_EQ(statements(), Lines{});
        stop();
    }
}

TEST_F(Datagrams, EmptyObjectNamesEveryMissingKeyInOrder) {
    start();
    ask("{}");
    std::string lines;
    for (const char* key : {"type", "function", "source", "target", "token", "msg_id"})
        lines += std::string("m2datagram->M2MDatagram( string ) error parsing tag <") + key + "> with error: |";
    expectLog("M2M function <>");
    std::string logged;
    const std::string output = program().child().output();
    for (std::size_t at = 0; (at = output.find("m2datagram->", at)) != std::string::npos; ++at)
        logged += output.substr(at, output.find('\033', at) - at) + "|";
    EXPECT_EQ(logged, lines);
}

TEST_F(Datagrams, PeerThatLeavesWithoutOneIsToldCodeSix) {
    start({"--noSSL"});
    {
        const auto peer = dial(program().port());
        shutdown(peer.get(), SHUT_WR);
        EXPECT_EQ(readAll(peer), rejection(6));
    }
    expectLog(unit + "error the peer has performed an unexpected shutdown");
    program().child().freeze();  // so that the reset is there before the connection is accepted
    reset(dial(program().port()));
    program().child().thaw();
    expectLog(unit + "recvfrom with error 'Connection reset by peer'");
    expectLog(unit + "error sending json <" + rejection(3) + "> to socket <");
    stop();
    start();
    auto peer = talk(program().port(), true);
    SSL_shutdown(peer.tls());
    std::string said;
    EXPECT_TRUE(peer.readToEnd(said, 4096, soon()));
    EXPECT_EQ(said, rejection(6));
}

// There is no framing: what the first read brings is the datagram.
TEST_F(Datagrams, InTwoSegmentsIsSeenAsItsFirstPartOnly) {
    const std::string whole = request("nothing", "t");
    for (const Lines& options : {Lines{}, Lines{"--noSSL"}}) {
        start(options);
        auto peer = talk(program().port(), program().tls());
        std::string said;
        EXPECT_TRUE(peer.write(whole.substr(0, 20), soon()));
        expectLog("Received M2M datagram '" + whole.substr(0, 20) + "'");
        peer.write(whole.substr(20), soon());
        EXPECT_TRUE(peer.readToEnd(said, 4096, soon())) << peer.problem();
        EXPECT_EQ(said, rejection());
        stop();
    }
}

TEST_F(Datagrams, CutAtEveryLengthAreAnsweredAndLeaveNothingBehind) {
    const std::string whole = request("discovery", "t", R"("context_id":"10")");
    for (const Lines& options : {Lines{}, Lines{"--noSSL"}}) {
        start(options);
        ask(whole);
        const std::size_t descriptors = program().child().descriptors();
        for (std::size_t length = 1; length < whole.size(); ++length)
            EXPECT_EQ(ask(whole.substr(0, length)), rejection()) << length;
        EXPECT_EQ(Json::parse(ask(whole))["result"], 29);
        EXPECT_TRUE(eventually([&] { return program().child().descriptors() <= descriptors; }));
        stop();
    }
}

TEST_F(Datagrams, LongerThanOneReadIsCutAndTheAnswerReachesASlowPeer) {
    start({"--noSSL"});
    for (const std::size_t size : {65535U, 65536U, 65537U, 200000U, 3000000U}) {
        std::string text = request("padded", "t");
        text.insert(text.size() - 1, std::string(size - text.size(), ' '));
        EXPECT_EQ(program().askAtOnce(text), size <= 65536 ? response("padded", 2, "") : rejection()) << size;
    }
}

TEST_F(Datagrams, AndCallsMayQueueUpTo64) {
    start();
    for (const int port : {program().port(), program().callPort()}) {
        const std::string command = "test $(ss -Hltn sport = :" + std::to_string(port) + " | awk '{print $3}') = 64";
        EXPECT_EQ(std::system(command.c_str()), 0) << port;
    }
}

// A TLS read brings one record.
TEST_F(Datagrams, LongerThanOneTlsRecordIsCut) {
    start();
    for (const std::size_t size : {16384U, 16385U, 300000U}) {
        std::string text = request("padded", "t");
        text.insert(text.size() - 1, std::string(size - text.size(), ' '));
        const auto said = exchange(program().port(), true, text);
        EXPECT_EQ(said.answer, size <= 16384 ? response("padded", 2, "") : rejection()) << said.problem;
    }
}

TEST_F(Datagrams, PasswordsAreNeverLogged) {
    const std::string secret = "s3cr3t-w0rd";
    const std::string good = Attach{.password = secret}.text();
    Lines texts = expected("texts with a password", good);
    texts.push_back("\xff" + good);
    for (const Lines& options : {Lines{"--first-run"}, Lines{"--noSSL"}}) {
        start(options);
        for (const std::string& text : texts) ask(text);
        attach();
        ask(good);
        program().settle();
        EXPECT_EQ(program().timesLogged(secret), 0U);
        EXPECT_GE(program().timesLogged("<NOT PRINTED>"), texts.size());
        EXPECT_EQ(program().timesLogged("sesame"), 0U);
        stop();
        forgetNeighbour();
    }
    EXPECT_TRUE(systemLogHas("<NOT PRINTED>"));
    for (const std::string& word : {secret, std::string("sesame")})
        EXPECT_EQ(lab::file_text("/tmp/system.log").find(word), std::string::npos);
    // All else stays as it came.
    EXPECT_TRUE(systemLogHas("Received M2M datagram '" + replaced(good, secret, "<NOT PRINTED>")));
}

// --- TLS -----------------------------------------------------------------------------------------------------------

using Tls = World;

TEST_F(Tls, PeersThatDoNotSpeakItAreClosedUnanswered) {
    const std::string failed = "velklib Cstylecode->accept_SSLsocket SSL accept failed with error '";
    const std::string helloBegin("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 11);
    start();
    for (const std::string& bytes : {request("nothing", ""), std::string(100000, '\0'), helloBegin, std::string()}) {
        const std::size_t before = program().timesLogged(failed);
        const auto peer = dial(program().port());
        sendBytes(peer, bytes);
        shutdown(peer.get(), SHUT_WR);
        const std::string said = readAll(peer);
        EXPECT_EQ(said.find('{'), std::string::npos) << said;
        EXPECT_EQ(program().timesLogged(failed), before + 1);
    }
    expectLog(failed + "1'->'error:");
    expectLog(unit + "accept failed with error '");
    expectLog(
        "velklib m2mclienthandler->socketWriteWrapper SSL enabled, but there is no SSL session "
        "for file descriptor <-1>");
}

TEST_F(Tls, BothVersionsAndResumedSessionsAreServed) {
    start();
    for (const char* version : {"1.2", "1.3"}) {
        neighbour::Settings settings;
        settings.port = static_cast<std::uint16_t>(program().port());
        settings.tls.version = version;
        settings.tls.resumeFile = std::string("/tmp/world/session") + version;
        for (const char* kind : {"full handshake", "session resumed"}) {
            const auto said = neighbour::exchange(settings, request("x", ""));
            EXPECT_EQ(said.answer, response("x", 2, ""));
            EXPECT_EQ(said.transport, std::string("TLSv") + version + ", " + kind);
        }
    }
}

TEST_F(Tls, WithoutAUsableCertificateConnectionsAreClosedAndTheProcessStaysIdle) {
    ASSERT_EQ(std::system("cp -a /web/key /tmp/key"), 0);
    for (const Lines& row : table("certificates that cannot be used: command, log")) {
        ASSERT_EQ(std::system(row[0].c_str()), 0);
        start();
        expectLog("velklib Cstylecode->init_SSLsocket_context " + row[1]);
        const double before = program().child().cpuSeconds();
        for (int i = 0; i < 3; ++i) EXPECT_FALSE(exchange(program().port(), true, "x").connected);
        expectLog("velklib Cstylecode->accept_SSLsocket SSL context is NULL");
        // The connection is off the queue: nothing to spin for.
        EXPECT_FALSE(program().child().ends(300ms));
        EXPECT_LT(program().child().cpuSeconds() - before, 0.15);
        program().settle();
        stop();
    }
    ASSERT_EQ(std::system("cp -a /tmp/key/. /web/key"), 0);
}

TEST_F(Tls, ThousandsOfFailedPeersLeaveNoDescriptorBehind) {
    start();
    ask(request("x", ""));
    const std::size_t before = program().child().descriptors();
    for (int round = 0; round < 2500; ++round) {
        reset(dial(program().port()));
        const auto halfOpen = dial(program().port());
        sendBytes(halfOpen, std::string("\x16\x03\x01\x02\x00", 5));
        const auto junk = dial(program().port());
        sendBytes(junk, "GET / HTTP/1.0\r\n\r\n");
        shutdown(halfOpen.get(), SHUT_WR);
        readAll(halfOpen);
        readAll(junk);
        if (round % 100 == 0) exchange(program().port(), true, "junk");
    }
    EXPECT_EQ(ask(request("x", "")), response("x", 2, ""));
    EXPECT_TRUE(eventually([&] { return program().child().descriptors() <= before; }));
}

// --- Silent peers --------------------------------------------------------------------------------------------------

class SilentPeers : public World {
  protected:
    // Attaches to a program of its own, in a home whose first room fills any socket's buffers; the request for it.
    std::string preparedRequest(const Program& held) {
        const std::string name = "slow" + std::to_string(held.port());
        const Json said = Json::parse(held.ask(Attach{.uid = name, .address = name}.text()));
        home("UPDATE KOVAD_NEIGHBOUR SET ENABLE_FLAG=1");
        std::string all = request("discovery", said["token"], R"("context_id":"10")", name);
        EXPECT_GT(held.ask(all).size(), 6'000'000U);
        return all;
    }
};

// Every kind holds a program of its own, all at the same time. Whoever comes meanwhile waits and is then served.
TEST_F(SilentPeers, HoldTheThreadForThirtySecondsAtMost) {
    using Hold = std::function<void(const Program&, const std::string& prepared)>;
    constexpr int longerThanAllowed = 50;  // seconds
    const auto silence = [](const neighbour::Descriptor& peer) { readAll(peer); };
    const auto drip = [](const neighbour::Descriptor& peer, const std::string& begin) {
        sendBytes(peer, begin);
        for (int i = 0; i < longerThanAllowed; ++i) {
            std::this_thread::sleep_for(1s);
            sendBytes(peer, "x");
        }
    };
    const auto readSlowly = [](neighbour::Connection peer, const std::string& asked, std::size_t bytesPerSecond) {
        peer.write(asked, soon());
        for (int i = 0; i < longerThanAllowed; ++i) {
            std::this_thread::sleep_for(1s);
            std::string bytes;
            if (bytesPerSecond > 0) peer.readToEnd(bytes, bytesPerSecond, soon());
        }
    };
    constexpr int small = 4096;
    const struct {
        const char* name;
        Lines options;
        Hold hold;
        bool attached = false;
    } cases[] = {
        // First what takes its time to prepare: the others must be through before they miss an attach.
        {"not reading", {"--noSSL"}, [&](auto& p, auto& a) { readSlowly(talk(p.port(), false, small), a, 0); }, true},
        {"reading drops", {}, [&](auto& p, auto& a) { readSlowly(talk(p.port(), true, small), a, 1000); }, true},
        {"before the handshake", {}, [&](auto& p, auto&) { silence(dial(p.port())); }},
        {"after the handshake",
         {},
         [](auto& p, auto&) {
             std::string nothing;
             talk(p.port(), true).readToEnd(nothing, 1, soon());
         }},
        {"dripping a handshake",
         {},
         [&](auto& p, auto&) {
             drip(dial(p.port()), std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 11));
         }},
        {"plain", {"--noSSL"}, [&](auto& p, auto&) { silence(dial(p.port())); }},
        {"core caller", {}, [&](auto& p, auto&) { silence(dial(p.callPort())); }},
        {"core caller that drips",
         {},
         [&](auto& p, auto&) { drip(dial(p.callPort()), "LengthRequestIs: 500\nRequest: "); }},
    };
    home(
        "INSERT INTO KOVAD_OBJECT (NAME, TYPE, PHPCLASS, IS_DISCOVERABLE, IS_REMOTABLE, IS_VISIBLE) WITH RECURSIVE "
        "N(I) AS (SELECT 1 UNION ALL SELECT I+1 FROM N WHERE I<3000) SELECT hex(zeroblob(1000)), 'FILLER', "
        "'kovaSwitch', 1, 1, 1 FROM N; INSERT INTO KOVAD_OBJECT_RELATION (PARENTOBJ_ID, CHILDOBJ_ID) SELECT 10, ID "
        "FROM KOVAD_OBJECT WHERE TYPE='FILLER'");
    std::vector<std::unique_ptr<Program>> programs;
    Lines prepared;
    for (const auto& test : cases) {
        programs.push_back(std::make_unique<Program>(20201 + static_cast<int>(programs.size()), test.options));
        prepared.push_back(test.attached ? preparedRequest(*programs.back()) : "");
    }
    std::vector<std::future<void>> served;
    std::vector<std::future<void>> held;
    for (std::size_t i = 0; i < programs.size(); ++i) {
        served.push_back(expectServedAfterHalfAMinute(*programs[i], cases[i].name));
        held.push_back(std::async(std::launch::async, [&, i] { cases[i].hold(*programs[i], prepared[i]); }));
    }
    for (std::size_t i = 0; i < programs.size(); ++i) {
        served[i].get();
        programs[i]->endsWell();
    }
    for (auto& done : held) done.get();
    for (const std::size_t i : {0U, 1U})
        EXPECT_TRUE(programs[i]->logs("with error: Resource temporarily unavailable\033"));
    EXPECT_TRUE(programs[2]->logs("Cstylecode->accept_SSLsocket SSL accept failed with error '2'"));
    for (const std::size_t i : {3U, 5U})
        EXPECT_TRUE(programs[i]->logs(unit + "recvfrom with error 'Resource temporarily unavailable'"));
}

}  // namespace
