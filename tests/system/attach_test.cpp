// Attach, detach and restart: who is let in, what is written to the database, and which token works.

#include <csignal>

#include "harness/world.h"

using namespace harness;

namespace {

const std::string refused = "velklib m2mclienthandler->handleAttachRequest error: attach are disabled!";
const std::string unauthorised =
    "m2mclienthandler->handleDetachRequest error: neighbour with ID <1> is not valid or not";

class Attaching : public World {
  protected:
    std::string attachAs(const std::string& user, const std::string& password) {
        return ask(Attach{.user = user, .password = password}.text());
    }
};

TEST_F(Attaching, FirstOneRecordsNeighbourBrowserTokenAndRunner) {
    startFirstRun();
    EXPECT_EQ(statements(), expected("first start"));
    const std::string said = ask(Attach{}.text());
    token = Json::parse(said)["token"];
    EXPECT_EQ(said, answer("attach", 0));
    EXPECT_EQ(token.size(), 12U);
    EXPECT_EQ(statements(), expected("first attach"));
    EXPECT_EQ(coreRequests(), expected("first attach, core"));
    EXPECT_EQ(value("SELECT ENABLE_FLAG FROM KOVAD_NEIGHBOUR"), "0");
    // Not served before somebody enables it.
    EXPECT_EQ(send("detach", R"("clearneighbour":0)"), response("detach", 11, ""));
    expectLog(unauthorised);
}

TEST_F(Attaching, AgainDrawsANewTokenAndTheOldOneStops) {
    startFirstRun();
    attach();
    const std::string old = token;
    const std::string relation = value("SELECT ID FROM KOVAD_OBJECT_RELATION WHERE ACTION='ISLOGGEDAS'");
    const std::string said = ask(Attach{}.text());
    token = Json::parse(said)["token"];
    EXPECT_EQ(said, answer("attach", 0));
    EXPECT_NE(token, old);
    EXPECT_EQ(old, "Z2dnZ2dnZ2c=");         // eight times the character that is drawn first
    EXPECT_EQ(token.substr(0, 4), "WjJk");  // begins with three characters of the old one
    EXPECT_EQ(statements(), expected("attach again", relation));
    EXPECT_EQ(coreRequests(), expected("attach again, core"));
    EXPECT_EQ(ask(request("discovery", old, R"("context_id":"11")")),
              answer("discovery", 29, R"("context_id":11,"objects":[])"));
    EXPECT_EQ(Json::parse(send("discovery", R"("context_id":"11")"))["result"], 0);
}

TEST_F(Attaching, WrongPasswordIsRefusedAndTheRightOneWorksAfterIt) {
    startFirstRun();
    statements();
    EXPECT_EQ(attachAs("anna", "wrong"), response("attach", 29, ""));
    expectLog("handleAttachRequest error: username <anna> and password <NOT PRINTED> are invalid\033");
    expectLog("m2muser->readFromDB password for the username <anna> is invalid!");
    EXPECT_EQ(value("SELECT COUNT(*) FROM KOVAD_OBJECT WHERE TYPE='CLIENTBROWSER'"), "0");
    EXPECT_EQ(value("SELECT HOST_STATUS FROM KOVAD_NEIGHBOUR"), "ONLINE");  // stored before the login is checked
    attach();
    // The bound neighbour that mistypes loses its token, in the database too.
    EXPECT_EQ(attachAs("anna", "wrong"), response("attach", 29, ""));
    EXPECT_EQ(value("SELECT ACTION_VALUE FROM KOVAD_OBJECT_RELATION WHERE ACTION='ISLOGGEDAS'"), "");
    EXPECT_EQ(Json::parse(send("discovery", R"("context_id":"11")"))["result"], 29);
    attach();
}

TEST_F(Attaching, LoginsThatAreNoneAreRefused) {
    startFirstRun();
    for (const Lines& row : table("logins that are none: user, password, log")) {
        EXPECT_EQ(attachAs(row[0], row[1]), response("attach", 29, "")) << row[0];
        expectLog(row[2]);
        expectLog("handleAttachRequest error: username <" + row[0] + "> and password <NOT PRINTED> are invalid\033");
    }
    EXPECT_EQ(attachAs("bruno", "lighthouse").find(R"("result":0)") != std::string::npos, true);  // a zero in his hash
}

TEST_F(Attaching, BoundRunnerTakesItsOwnNeighbourOnly) {
    startFirstRun();
    attach();
    EXPECT_EQ(ask(Attach{.uid = "11:22:33:44:55:66"}.text()), "");
    expectLog(refused);
    EXPECT_EQ(statements(), expected("attach of a stranger"));
    EXPECT_EQ(coreRequests(), Lines{});
    EXPECT_EQ(Json::parse(send("discovery", R"("context_id":"11")"))["result"], 0);
    home("UPDATE KOVA_M2M_CONFIGURATION SET VALUE='0'");  // says nothing to a bound neighbour
    attach();
}

TEST_F(Attaching, IsRefusedWithoutAnAnswer) {
    startFirstRun();
    statements();
    for (const Lines& row : table("attaches without an answer: home, end of the request, log")) {
        home(row[0]);
        EXPECT_EQ(ask(Attach{.mode = row[1]}.text()), "") << row[0] << row[1];
        expectLog(row[2]);
        EXPECT_EQ(statements(), expected("attach refused at once"));
    }
    EXPECT_EQ(coreRequests(), Lines{});
    EXPECT_EQ(value("SELECT COUNT(*) FROM KOVAD_NEIGHBOUR"), "0");
    attach();
}

TEST_F(Attaching, RemovesTheNeighboursOtherRunners) {
    home(
        "INSERT INTO KOVAD_OBJECT (ID, TYPE, OPTIONALP) VALUES (51, 'CSCMD', 'neighbour_id=1'), (52, 'CSCMD', "
        "'loop=1|neighbour_id=17'), (53, 'CSCMD', 'neighbour_id=21')");
    startFirstRun();
    statements();
    EXPECT_EQ(Json::parse(ask(Attach{}.text()))["result"], 0);
    // The pattern is a plain substring: 1 is found in 17 as well.
    EXPECT_EQ(home("SELECT ID FROM KOVAD_OBJECT WHERE TYPE='CSCMD' ORDER BY ID"), (Lines{"40", "53"}));
    EXPECT_EQ(coreRequests(), expected("other runners, core"));
    EXPECT_EQ(statements().back(), "DELETE DELETE FROM KOVAD_OBJECT WHERE ID='52';\\n");
}

// --- Detach --------------------------------------------------------------------------------------------------------

using Detaching = World;

TEST_F(Detaching, SoftlyWithdrawsTokenAndRegistrationsAndKeepsTheRecords) {
    startFirstRun();
    attach();
    const std::string relation = value("SELECT ID FROM KOVAD_OBJECT_RELATION WHERE ACTION='ISLOGGEDAS'");
    EXPECT_EQ(send("register", R"("object_ids":[20,22])"), answer("register", 0));
    statements();
    EXPECT_EQ(send("detach", R"("clearneighbour":0)"), response("detach", 0, ""));
    EXPECT_EQ(statements(), expected("soft detach", relation));
    EXPECT_EQ(coreRequests(), Lines{"SERVICE_LOGINDATARELOAD"});
    EXPECT_EQ(send("discovery", R"("context_id":"11")"),
              response("discovery", 29, "", R"("context_id":11,"objects":[])"));
    attach();  // the runner has stayed
}

TEST_F(Detaching, WithAStaleTokenIsRefusedAndChangesNothing) {
    startFirstRun();
    attach();
    for (const char* clear : {"0", "1"}) {
        EXPECT_EQ(ask(request("detach", "stale", std::string(R"("clearneighbour":)") + clear)),
                  response("detach", 11, ""));
        EXPECT_EQ(statements(), expected("neighbour read"));
    }
    expectLog(unauthorised);
    EXPECT_EQ(Json::parse(send("discovery", R"("context_id":"11")"))["result"], 0);
}

TEST_F(Detaching, ClearingAllDeletesTheRecordsAnswersAndEndsWithStatusZero) {
    startFirstRun();
    attach();
    EXPECT_EQ(send("register", R"("object_ids":[20,30])"), answer("register", 0));
    statements();
    EXPECT_EQ(send("detach", R"("clearneighbour":"1")"), response("detach", 0, ""));
    EXPECT_EQ(program().child().ends(), 0);
    EXPECT_EQ(statements(), expected("clearing all"));
    expectLogs("clearing all, log");
    EXPECT_EQ(value("SELECT COUNT(*) FROM KOVAD_OBJECT_RELATION WHERE CHILDOBJ_ID=101"), "0");
}

// --- A runner that is started again --------------------------------------------------------------------------------

using Restarting = World;

TEST_F(Restarting, KnowsItsNeighbourAndTheOldTokenKeepsWorking) {
    startFirstRun();
    attach();
    stop();
    const std::string relation = value("SELECT ID FROM KOVAD_OBJECT_RELATION WHERE ACTION='ISLOGGEDAS'");
    start();
    EXPECT_EQ(statements(), expected("start of a bound runner"));
    EXPECT_EQ(Json::parse(send("discovery", R"("context_id":"11")"))["result"], 0);
    EXPECT_EQ(coreRequests(), Lines{});
    EXPECT_EQ(ask(Attach{.uid = "11:22:33:44:55:66"}.text()), "");
    statements();
    EXPECT_EQ(send("detach", R"("clearneighbour":0)"), response("detach", 0, ""));
    EXPECT_EQ(statements(), expected("soft detach", relation));
}

TEST_F(Restarting, CoreStartsItKeepsItRunningAndLetsItEnd) {
    stopCore();
    home("UPDATE KOVAD_OBJECT SET MSP=replace(MSP, '45200', '20200') WHERE ID=40");
    startCore({"--runner-log", "/tmp/world/runner.log", "--restart-delay", "10"});
    const auto serves = [] { return exchange(20200, true, request("x", "")).answer == response("x", 2, ""); };
    ASSERT_TRUE(eventually(serves));
    const Json said = Json::parse(exchange(20200, true, Attach{}.text()).answer);
    ASSERT_EQ(said["result"], 0);
    token = said["token"];
    home("UPDATE KOVAD_NEIGHBOUR SET ENABLE_FLAG=1");
    const std::string first = value("SELECT VALUES_TYPE FROM KOVAD_OBJECT WHERE ID=40");
    EXPECT_EQ(value("SELECT MSP FROM KOVAD_OBJECT WHERE ID=40"),
              "/usr/local/bin/m2mclientmanager --listen-for-attach-on-port 20200 --id 40");
    kill(std::stoi(first), SIGKILL);
    ASSERT_TRUE(eventually([&] {
        return value("SELECT VALUES_TYPE FROM KOVAD_OBJECT WHERE ID=40 AND STATUS_ID=2 AND VALUES_TYPE<>" + first) !=
               "no row";
    }));
    ASSERT_TRUE(eventually(serves));
    EXPECT_EQ(exchange(20200, true, request("detach", token, R"("clearneighbour":1)")).answer,
              response("detach", 0, ""));
    EXPECT_TRUE(core().prints("ended with status 0: not started again"));
}

}  // namespace
