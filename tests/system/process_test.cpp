// The process itself: status line and exit statuses, console and signals, the wait for the first attach.

#include <algorithm>
#include <csignal>

#include "common/text.h"
#include "harness/world.h"

using namespace harness;

namespace {

const std::string programFile = "/usr/local/bin/m2mclientmanager";

class StartUp : public World {
  protected:
    static Child run(const Lines& arguments) {
        Lines command{programFile};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return {command, "/tmp/world/program.errors"};
    }
};

TEST_F(StartUp, PrintsItsVersionWhateverTheCaseOfTheOption) {
    for (const char* option : {"-v", "-V"}) {
        Child child = run({option});
        EXPECT_EQ(child.ends(), 0);
        EXPECT_TRUE(child.prints("\n"));
        EXPECT_EQ(child.output(), "Version: 0.0.5 [rev.735]\n");
    }
    start({"-v"});  // with other arguments it is no option
}

TEST_F(StartUp, EndsWithStatusOneAfterAGoodStatusLineWhenTheAttachPortCannotBeHad) {
    const struct {
        Lines arguments;
        const char* reason;
    } cases[] = {
        {{"--listen-for-attach-on-port", "20200"}, "bind failed with error 'Address already in use'"},
        {{"--noSSL", "--listen-for-attach-on-port"}, "bind failed with error"},
        {{"--listen-for-attach-on-port", "70000"}, "bind failed with error"},
    };
    const auto taken = listenAt(20200, false);
    for (const auto& test : cases) {
        Child child = run(test.arguments);
        EXPECT_EQ(child.ends(), 1);
        EXPECT_TRUE(child.prints("main error creating client socket!\033[0;39m\n"));
        EXPECT_TRUE(child.prints(std::string("Cstylecode->make_internet_socket ") + test.reason));
        EXPECT_EQ(child.output().substr(0, 2), "0,") << child.output();
    }
}

TEST_F(StartUp, SaysMinusOneWhenThereIsNoSocketForTheCore) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer's runtime does not start with so few descriptors";
#endif
    // Descriptor 0 is the only one that the loader and then the program can have.
    Child child({"bash", "-c", "exec 0<&-; ulimit -n 3; exec " + programFile + " --listen-for-attach-on-port 20200"},
                "/tmp/world/program.errors");
    EXPECT_EQ(child.ends(), 1);
    EXPECT_TRUE(child.prints("make_internet_socket_randomport socket failed with error 'Too many open files'"));
    EXPECT_TRUE(child.prints("\n-1,-1\n")) << child.output();
}

// --- The console ---------------------------------------------------------------------------------------------------

using Console = World;

// Every level once: the line that a person sees, escapes and all.
TEST_F(Console, LinesCarryColourProcessIdAndPrefix) {
    start({"--noSSL"});
    const std::string asked =
        R"({"type":"response","function":"attach","source":"S","target":"","token":"","msg_id":"7"})";
    const std::string said = response("attach", 2, "", "", "S", "7");
    const std::string saidNext = response("", 2, "", "", "", "");
    EXPECT_EQ(ask(asked), said);
    EXPECT_EQ(ask("7"), saidNext);
    expectLog("sending JSON response <" + saidNext);

    const auto line = [this](const char* colour, const std::string& text) {
        return std::string("\033[1;") + colour + "m<" + std::to_string(program().child().pid()) +
               ">\033[0;39m \033[0;" + colour + "m" + text + "\033[0;39m\n";
    };
    const std::string unit = "velklib m2mclienthandler->didReceiveCustomGatewayData ";
    const std::string expected =
        "0," + std::to_string(program().callPort()) + "\n" +
        line("34", "velklib Updating Kovaline NEIGHBOUR System: Host '', Port 0, Status ") +
        line("34", unit + "Received M2M datagram '" + asked + "'") +
        "\033[1;30m\033[0;39m m2mclienthandler->didReceiveCustomGatewayData ATTACH RESPONSE RECEIVED\n" +
        line("34", unit + "sending JSON response <" + said + "> to file descriptor <FD>") +
        line("34", unit + "Received M2M datagram '7'") +
        line("31",
             "velklib m2datagram->M2MDatagram( string ) error loading the JSON <7> with error: '[' or '{' "
             "expected near '7'") +
        line("31", unit + "M2M function <> is unknown/unimplemented") +
        line("34", unit + "sending JSON response <" + saidNext + "> to file descriptor <FD>");
    const std::string output = program().child().output();
    const std::size_t at = output.find("descriptor <");
    EXPECT_EQ(replaced(output, output.substr(at, output.find('>', at) - at), "descriptor <FD"), expected);
    EXPECT_TRUE(systemLogHas("m2mclienthandler->didReceiveCustomGatewayData M2M function <> is unknown/unimplemented"));
}

// The system log expands "%%" and "%m" a second time; all else in a datagram is plain text.
TEST_F(Console, PercentSignsInDatagramsArePlainText) {
    start();
    const std::string hostile = "%s%n%x%1$s%*d%999999d %d%";
    ask(request(hostile + " %% %m", ""));
    expectLog("M2M function <" + hostile + " %% %m> is unknown");
    EXPECT_TRUE(systemLogHas("M2M function <" + hostile + " % "));
    EXPECT_EQ(lab::file_text("/tmp/system.log").find("%m> is unknown"), std::string::npos);
}

TEST_F(Console, LongMessageIsWholeOnTheConsoleAndCutInTheSystemLog) {
    start();
    const std::string name(5000, 'x');
    ask(request(name, ""));
    expectLog("M2M function <" + name + "> is unknown");
    const std::string head = "m2mclienthandler->didReceiveCustomGatewayData M2M function <";
    ASSERT_TRUE(systemLogHas(head + "xx"));
    const std::string log = lab::file_text("/tmp/system.log");
    const std::size_t at = log.rfind(head + "xx");
    EXPECT_EQ(log.substr(at, log.find('\n', at) - at), head + std::string(1023 - head.size(), 'x'));
}

TEST_F(Console, ProcessServesOnWhenNobodyReads) {
    const std::string longName(4000, 'n');
    for (const bool hungUp : {true, false}) {
        start();
        if (hungUp) program().child().hangUp();
        if (!hungUp) program().child().stopReading();
        const auto begin = Clock::now();
        for (int i = 0; i < 60; ++i) ASSERT_EQ(ask(request(longName, "")), response(longName, 2, ""));
        EXPECT_LT(Clock::now() - begin, 20s);
        const std::string last = hungUp ? "reader is gone" : "reader never reads";
        ask(request(last, ""));
        EXPECT_TRUE(systemLogHas("M2M function <" + last + "> is unknown"));
        stop();
    }
}

TEST_F(Console, ProcessStartedWithoutStandardDescriptorsKeepsItsLinesOutOfSockets) {
    start({}, Child::Standard::closed);
    ASSERT_TRUE(eventually([this] { return ask(request("x", "")) == response("x", 2, ""); }));
    for (int i = 0; i < 20; ++i) EXPECT_EQ(ask(request("x", "")), response("x", 2, ""));
    EXPECT_TRUE(systemLogHas("M2M function <x> is unknown"));
}

// --- Signals -------------------------------------------------------------------------------------------------------

using Signals = World;

TEST_F(Signals, TermEndsWithStatusZeroAtOnceAndLosesNoLine) {
    startFirstRun();
    statements();
    ask(request("the last words", ""));
    program().child().signal(SIGTERM);
    EXPECT_EQ(program().child().ends(2s), 0);
    expectLog("M2M function <the last words> is unknown");
    EXPECT_TRUE(systemLogHas("M2M function <the last words> is unknown"));
    EXPECT_EQ(statements(), Lines{});  // nothing is taken down
}

TEST_F(Signals, AreLoggedAndAreNoEnd) {
    startFirstRun();
    for (const Lines& row : table("signals that are no end: number, log"))
        for (std::size_t i = 1; i <= 3; ++i) {
            program().child().signal(std::stoi(row[0]));
            EXPECT_TRUE(eventually([&] { return program().timesLogged("velklib " + row[1]) == i; }));
            EXPECT_TRUE(systemLogHas(row[1]));
        }
    attach();
}

TEST_F(Signals, FatalOnesAreLoggedAndEndWithStatusOne) {
    for (const Lines& row : table("fatal signals: number, log")) {
        Program fatal(20201, {});
        fatal.child().signal(std::stoi(row[0]));
        EXPECT_EQ(fatal.child().ends(), 1);
        EXPECT_TRUE(fatal.logs(row[1]));
        EXPECT_TRUE(systemLogHas(row[1]));
    }
}

// --- The wait for the first attach ---------------------------------------------------------------------------------

using Watchdog = World;

// Three runners at once, as all have to be waited for: an idle one, one that is woken all the time, a bound one.
TEST_F(Watchdog, EndsTheRunnerThatNobodyAttachesToInTime) {
    for (const char* row : {"41, 'NO-VALUE'", "42, 'NO-VALUE'", "43, 'neighbour_id=7'"})
        home(std::string("INSERT INTO KOVAD_OBJECT (ID, OPTIONALP, TYPE) VALUES (") + row + ", 'CSCMD')");
    const auto begin = Clock::now();
    Program idle(20201, {"--first-run", "--id", "41"});
    Program woken(20202, {"--id", "42"});
    Program bound(20203, {"--id", "43"});
    statements();
    while (!woken.child().ends(500ms) && Clock::now() < begin + 75s)
        if (Clock::now() < begin + 60s) sendBytes(dial(20202), "junk");
    const auto wokenFor = Clock::now() - begin;
    EXPECT_EQ(idle.child().ends(20s), 1);
    const auto idleFor = Clock::now() - begin;
    EXPECT_EQ(woken.child().ends(0s), 1);

    EXPECT_GT(wokenFor, 60s);
    EXPECT_LT(wokenFor, 72s);
    EXPECT_GT(idleFor, 60s);
    EXPECT_LT(idleFor, 73s);
    const std::string text = "velklib main -> a valid attach not arrived, terminating and deleting the client!";
    EXPECT_TRUE(idle.logs(text));
    EXPECT_TRUE(woken.logs(text));
    const Lines deletes = statements();
    const Lines ofIdle = expected("watchdog of an unbound runner");
    EXPECT_NE(std::search(deletes.begin(), deletes.end(), ofIdle.begin(), ofIdle.end()), deletes.end());
    EXPECT_EQ(home("SELECT ID FROM KOVAD_OBJECT WHERE TYPE='CSCMD' ORDER BY ID"), (Lines{"40", "43"}));
    bound.settle();
    EXPECT_EQ(bound.timesLogged("a valid attach not arrived"), 0U);
    bound.endsWell();
}

}  // namespace
