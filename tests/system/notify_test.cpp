// What the runner sends on its own account: a change reaches the neighbour, and a neighbour that misbehaves hurts
// nobody.

#include <sys/socket.h>

#include <functional>

#include "harness/world.h"

using namespace harness;

namespace {

constexpr int neighbourPort = 20300;

// Takes one connection, waits for it.
neighbour::Descriptor acceptAt(const neighbour::Listener& listener) {
    neighbour::Descriptor accepted;
    eventually([&] {
        accepted = neighbour::Descriptor(accept4(listener.descriptor(), nullptr, nullptr, SOCK_CLOEXEC));
        return accepted.valid();
    });
    return accepted;
}

class Notify : public World {
  protected:
    static std::string change(const std::string& value) { return coreCall("101", "CHANGESTATUS", value); }
    // Message IDs are eight times one character; the generator is not seeded, so that the first ones are known.
    static std::string datagram(const std::string& messageId, const std::string& objects) {
        return R"({"type":"request","function":"changestatus","source":"02:11:22:33:44:55","target":"AA:BB:CC:DD:EE:FF",)"
               R"("token":"","msg_id":")" +
               messageId + R"(",)" + objects + R"("answer_required":0})";
    }
    static std::string light(const std::string& value) {
        return R"("objects":[{"id":20,"type":"QUOROBJ","current_value":")" + value + R"(","name":"Kitchen light"}],)";
    }
    // The next datagram that a listener gets.
    static std::string next(const neighbour::Listener& listener) {
        std::string problem;
        std::string datagram;
        EXPECT_TRUE(
            eventually([&] { return !(datagram = listener.receive(30s, problem)).empty() || !problem.empty(); }));
        EXPECT_EQ(problem, "");
        expectInOrder(datagram);
        return datagram;
    }
    void expectNextOneArrives(const neighbour::Listener& listener) {
        program().call(change("20"));
        EXPECT_EQ(Json::parse(next(listener))["objects"][0]["id"], 20);
    }
    const std::string acknowledged = "Response Status: FSMC-000\nParameter Count: 0\n\n";
    const std::string failed =
        "velklib m2mclienthandler->changeStatus error opening socket to address <127.0.0.1> and port "
        "<20300> with error: ";
};

TEST_F(Notify, ChangeReachesTheNeighbourInItsOwnDatagram) {
    for (const bool tls : {true, false}) {
        startFirstRun(tls ? Lines{} : Lines{"--noSSL"});
        attach();
        const auto listener = listenAt(neighbourPort, tls);
        EXPECT_EQ(program().call(change("20")), acknowledged);
        EXPECT_EQ(next(listener), datagram("FFFFFFFF", light("0")));
        EXPECT_EQ(statements(), expected("change of a light, read for the first time"));
        home("UPDATE KOVAD_OBJECT SET CURRENT_VALUE='1' WHERE ID=20");
        const std::string text = change("20");
        EXPECT_EQ(program().call("LengthRequestIs: " + std::to_string(text.size()) + "\n" + text), acknowledged);
        EXPECT_EQ(next(listener), datagram("iiiiiiii", light("1")));
        EXPECT_EQ(statements(), expected("change of a light"));  // read once for one call
        // The child of a complex object goes by itself; what cannot be read leaves its values out.
        program().call(change("31"));
        EXPECT_EQ(Json::parse(next(listener))["objects"].dump(),
                  R"([{"id":31,"type":"QUORIDX","current_value":"20.5","name":"Setpoint"}])");
        for (const char* unknown : {"999", "no number", ""}) {
            program().call(change(unknown));
            EXPECT_FALSE(Json::parse(next(listener)).contains("objects"));
        }
        expectLog("m2mchangestatusrequestdatagram->encodeJSON error retrieving values from DB");
        stop();
        forgetNeighbour();
        home("UPDATE KOVAD_OBJECT SET CURRENT_VALUE='0' WHERE ID=20");
    }
}

TEST_F(Notify, OtherCallsAreIgnored) {
    startFirstRun();
    const auto listener = listenAt(neighbourPort, true);
    program().call(change("20"));  // nobody is attached
    attach();
    program().call(coreCall("101", "changestatus", "20"));
    expectLog(
        "velklib m2mclienthandler->didReceiveCallFromCore error: received unknown request 101, "
        "NO-VALUE, changestatus, 20");
    expectNextOneArrives(listener);  // and none before it
    EXPECT_EQ(program().timesLogged("changeStatus sending JSON"), 1U);
}

TEST_F(Notify, CoreIsAnsweredBeforeTheNeighbourIsContacted) {
    startFirstRun();
    attach();
    const auto listener = listenAt(neighbourPort, true);
    EXPECT_EQ(program().call(change("20")), acknowledged);  // nobody has accepted yet
    EXPECT_EQ(program().child().output().find("changeStatus sending"), std::string::npos);
    EXPECT_NE(next(listener), "");
}

TEST_F(Notify, NeighbourThatIsDownMissesOneAndGetsTheNext) {
    startFirstRun();
    attach();
    const std::size_t before = program().child().descriptors();
    for (int i = 0; i < 50; ++i) program().call(change("20"));
    EXPECT_EQ(program().timesLogged(failed + "Connection refused"), 50U);
    expectNextOneArrives(listenAt(neighbourPort, true));
    EXPECT_TRUE(eventually([&] { return program().child().descriptors() <= before; }));
}

TEST_F(Notify, MisbehavingNeighbourHurtsNobody) {
    const std::string megabytes(4'000'000, 'm');
    const struct {
        const char* name;
        std::function<void(neighbour::Descriptor)> behave;
        const char* logged;
    } cases[] = {
        {"closes at once", [](neighbour::Descriptor) {}, "changeStatus error opening socket to address"},
        {"resets in the handshake", [](neighbour::Descriptor peer) { reset(std::move(peer)); },
         "make_internettcpclient_SSLsocket error connecting to SSL socket"},
        {"speaks plain text",
         [](neighbour::Descriptor peer) {
             sendBytes(peer, "HTTP/1.1 400 Bad Request\r\n\r\n");
             readAll(peer);
         },
         "velklib Cstylecode->connect_SSLsocket SSL accept failed with error '1' for pid="},
        {"answers megabytes of junk", [&](neighbour::Descriptor peer) { sendBytes(peer, megabytes); }, ""},
    };
    startFirstRun();
    attach();
    const std::size_t before = program().child().descriptors();
    const auto listener = listenAt(neighbourPort, true);
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        program().call(change("20"));
        test.behave(acceptAt(listener));
        expectLog(test.logged);
        expectNextOneArrives(listener);
    }
    // Answers megabytes when all is said, as nobody asked for.
    program().call(change("20"));
    const auto context = serverContext();
    neighbour::Connection talker(acceptAt(listener), context.get());
    EXPECT_TRUE(talker.acceptTls(soon()));
    talker.write(megabytes, soon());
    expectNextOneArrives(listener);
    EXPECT_TRUE(eventually([&] { return program().child().descriptors() <= before; }));
}

// Tickets that the runner never reads must not reset what it wrote; nor must a neighbour that takes its time.
TEST_F(Notify, SlowNeighbourWithSessionTicketsGetsTheWholeDatagram) {
    home("UPDATE KOVAD_OBJECT SET CURRENT_VALUE=hex(zeroblob(100000)) WHERE ID=20");
    startFirstRun();
    attach();
    for (const char* version : {"1.2", "1.3"}) {
        const auto context = serverContext(version);
        const auto listener = listenAt(neighbourPort, true);
        program().call(change("20"));
        neighbour::Connection slow(acceptAt(listener), context.get());
        std::this_thread::sleep_for(500ms);
        EXPECT_TRUE(slow.acceptTls(soon())) << slow.problem();
        std::this_thread::sleep_for(300ms);
        std::string got;
        EXPECT_TRUE(slow.readToEnd(got, 1'000'000, soon())) << slow.problem();
        EXPECT_EQ(Json::parse(got)["objects"][0]["current_value"], std::string(200'000, '0')) << version;
    }
}

// The neighbour acts, the core performs and calls, the neighbour hears of it.
TEST_F(Notify, NeighbourHearsOfWhatItDid) {
    for (const Lines& framing : {Lines{"--no-runners"}, Lines{"--no-runners", "--length-managed"}}) {
        stopCore();
        startCore(framing);
        startFirstRun();
        attach();
        home("UPDATE KOVAD_OBJECT SET MIN_VALUE=" + std::to_string(program().callPort()) +
             " WHERE ID=40; UPDATE KOVAD_OBJECT "
             "SET CURRENT_VALUE='20.5' WHERE ID=31");
        const auto listener = listenAt(neighbourPort, true);
        EXPECT_EQ(send("register", R"("object_ids":[30])"), answer("register", 0));
        EXPECT_EQ(send("doaction",
                       R"("objects":[{"id":30,"items":[{"name":"Setpoint","action":"set","action_value":"21"}]}])"),
                  answer("doaction", 0));
        EXPECT_EQ(Json::parse(next(listener))["objects"][0]["items"][0].dump(),
                  R"({"id":31,"type":"QUORIDX","current_value":"21","name":"Setpoint"})");
        stop();
    }
}

// --- Neighbours that hold a notification for its whole time --------------------------------------------------------

using SilentNeighbours = World;

TEST_F(SilentNeighbours, HoldTheThreadForThirtySecondsAtMost) {
    home("UPDATE KOVAD_OBJECT SET CURRENT_VALUE=hex(zeroblob(4000000)) WHERE ID=20");
    const struct {
        bool tls;
        bool handshake;
        const char* logged;
    } cases[] = {{true, false, "changeStatus error opening socket to address <"},
                 {true, true, "changeStatus error sending json <"},
                 {false, false, "changeStatus error sending json <"}};
    std::vector<std::unique_ptr<Program>> programs;
    std::vector<neighbour::Listener> listeners;
    std::vector<std::future<void>> threads;
    for (const auto& test : cases) {
        const int port = 20201 + static_cast<int>(programs.size());
        listeners.push_back(listenAt(port + 100, false));  // the kernel accepts, nobody reads
        programs.push_back(std::make_unique<Program>(port, test.tls ? Lines{} : Lines{"--noSSL"}));
        const std::string name = "neighbour" + std::to_string(port);
        programs.back()->ask(Attach{.uid = name, .address = "127.0.0." + name.substr(13), .port = port + 100}.text());
    }
    const auto context = serverContext();
    std::optional<neighbour::Connection> shaken;
    for (std::size_t i = 0; i < programs.size(); ++i) {
        programs[i]->call(coreCall("101", "CHANGESTATUS", "20"));
        if (cases[i].handshake) shaken.emplace(acceptAt(listeners[i]), context.get()).acceptTls(soon());
        threads.push_back(expectServedAfterHalfAMinute(*programs[i], cases[i].logged));
    }
    for (std::size_t i = 0; i < programs.size(); ++i) {
        threads[i].get();
        EXPECT_TRUE(programs[i]->logs(cases[i].logged));
        programs[i]->endsWell();
    }
}

}  // namespace
