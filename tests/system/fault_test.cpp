// Services that are down, cut off or talk nonsense: what each request answers then, and that all is well afterwards.

#include <sys/socket.h>

#include "harness/world.h"

using namespace harness;

namespace {

// That what happens in between leaves neither descriptors nor memory behind.
class Footprint {
  public:
    explicit Footprint(const Child& child)
        : child_(child), descriptors_(child.descriptors()), kilobytes_(child.residentKilobytes()) {}
    Footprint(const Footprint&) = delete;
    Footprint& operator=(const Footprint&) = delete;
    ~Footprint() {
        EXPECT_TRUE(eventually([this] { return child_.descriptors() <= descriptors_; }));
#ifndef __SANITIZE_ADDRESS__  // which keeps released memory for a while
        EXPECT_LE(child_.residentKilobytes(), kilobytes_ + 512);
#endif
    }

  private:
    const Child& child_;
    std::size_t descriptors_;
    std::size_t kilobytes_;
};

class RegisteredNeighbour : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        startFirstRun();
        attach();
        EXPECT_EQ(send("register", R"("object_ids":[20])"), answer("register", 0));
    }
};

// --- DBManager -----------------------------------------------------------------------------------------------------

class DatabaseFaults : public RegisteredNeighbour {
  protected:
    // Every request while nothing can be read or written. An UPDATE or DELETE does not notice.
    void expectFailures(const std::string& what) {
        SCOPED_TRACE(what);
        EXPECT_EQ(send("discovery", R"("context_id":"10")"), answer("discovery", 0, R"("context_id":10,"objects":[])"));
        EXPECT_EQ(send("register", R"("object_ids":[25])"), answer("register", 13));
        EXPECT_EQ(send("getstatus", R"("objects":[{"id":20,"items":[]},{"id":22,"items":[]}])"),
                  answer("getstatus", 16));
        EXPECT_EQ(send("doaction", R"("objects":[{"id":22,"items":[{"name":"x","action":"set","action_value":"5"}]}])"),
                  answer("doaction", 10));
        EXPECT_EQ(send("unregister", R"("object_ids":[22])"), answer("unregister", 0));
        EXPECT_EQ(ask(Attach{}.text()), answer("attach", 13));
    }

    void expectHealth() {
        home("DELETE FROM KOVAD_NEIGHBOUR WHERE ENABLE_FLAG=0");  // inserted by an attach that did not hear of it
        EXPECT_EQ(Json::parse(send("getstatus", R"("objects":[{"id":20,"items":[]}])"))["result"], 0);
        const Json said = Json::parse(send("discovery", R"("context_id":"10")"));
        EXPECT_EQ(said["result"], 0);
        EXPECT_EQ(said["objects"].size(), 5U);
    }
};

TEST_F(DatabaseFaults, DoNotEndTheProcess) {
    for (const std::string& fault : expected("faults of the database")) {
        databaseFaults(fault);
        expectFailures(fault);
        databaseFaults("");
        expectHealth();
    }
    expectLogs("faults of the database, log");
}

// What DBManager answers to a statement, cut nowhere.
std::string whole_answer(const std::string& type, const std::string& statement) {
    const auto connection = dial(45168);
    sendBytes(connection, "Request: DML-SQL\nType: " + type + "\nStatement payload length: " +
                              std::to_string(statement.size()) + "\nStatement: " + statement + "\n\n");
    shutdown(connection.get(), SHUT_WR);
    return readAll(connection);
}

// The answer to the statement that matters to a request ends after 0, 1, 2, ... bytes, until it is whole.
TEST_F(DatabaseFaults, CutAtEveryLength) {
    const struct {
        const char* function;
        const char* members;
        const char* statement;
        std::string failed;
    } requests[] = {
        {"getstatus", R"("objects":[{"id":20,"items":[]}])", "SELECT ID, CURRENT_VALUE", answer("getstatus", 16)},
        {"discovery", R"("context_id":"10")", "PARENTOBJ_ID='10'",
         answer("discovery", 0, R"("context_id":10,"objects":[])")},
    };
    for (const auto& r : requests) {
        SCOPED_TRACE(r.function);
        statements();
        send(r.function, r.members);  // what is cached is so from here on
        Lines sent = statements();
        std::erase_if(sent, [&r](const std::string& line) { return line.find(r.statement) == std::string::npos; });
        ASSERT_EQ(sent.size(), 1U);
        const std::string whole = whole_answer("SELECT", sent[0].substr(sent[0].find("SELECT ")));
        const Footprint footprint(program().child());
        std::size_t length = 0;
        for (std::string said = r.failed; said == r.failed && length <= whole.size(); ++length) {
            databaseFaults("cut=" + std::to_string(length) + " match=\"" + r.statement + "\"");
            said = send(r.function, r.members);
        }
        databaseFaults("");
        EXPECT_EQ(length - 1, whole.size());
        EXPECT_GT(whole.size(), 60U);
        expectHealth();
    }
}

TEST_F(DatabaseFaults, ServiceMayGoAndComeBack) {
    stopDatabase();
    expectFailures("down");
    expectLogs("database down, log");
    startDatabase();
    expectHealth();
}

TEST_F(DatabaseFaults, ThatStillLeaveAnAnswerAreNoneToTheNeighbour) {
    for (const char* fault : {"wronglength=-3", "delay=50"}) {
        databaseFaults(fault);
        expectHealth();
    }
}

// One statement in the middle of a request fails.
TEST_F(DatabaseFaults, StatementThatFailsSpoilsItsOwnStepOnly) {
    databaseFaults(R"(sqlerror="disk full" match="O.ID='22'")");
    const Json said = Json::parse(send("discovery", R"("context_id":"10")"));
    EXPECT_EQ(said["objects"].size(), 4U);
    expectLog("m2mremotableobject->readFromDB query error from velk server: ");
    databaseFaults(R"(sqlerror match="INTO KOVAD_NEIGHBOUR")");
    EXPECT_EQ(Json::parse(ask(Attach{}.text()))["result"], 0);
}

TEST_F(DatabaseFaults, DetachAndFirstAttachWithoutADatabase) {
    databaseFaults("closeearly");
    EXPECT_EQ(send("detach", R"("clearneighbour":0)"), response("detach", 0, ""));
    stop();
    startFirstRun();
    EXPECT_EQ(ask(Attach{}.text()), "");
    expectLog("M2Mutil->m2m_attachlisteningisenabled query error from velk server: ");
    expectLog("handleAttachRequest error: attach are disabled!");
}

// --- FSMCore -------------------------------------------------------------------------------------------------------

class CoreFaults : public RegisteredNeighbour {
  protected:
    std::string turnOn() {
        return send("doaction",
                    R"("objects":[{"id":20,"items":[{"name":"x","action":"turn-on","action_value":"1"}]}])");
    }
    void expectFailure(int code) {
        EXPECT_EQ(turnOn(), answer("doaction", code));
        expectLog(
            "m2mclientbrowser->performAction( <turn-on> ) error contacting velk server: "
            "core_request::run error calling fsmcore_request <" +
            std::to_string(code) + ">");
        EXPECT_EQ(ask(Attach{}.text()), response("attach", 29, ""));
    }
    void expectHealth() {
        coreFaults("");
        attach();
        home("UPDATE KOVAD_OBJECT SET CURRENT_VALUE='0' WHERE ID=20");
        EXPECT_EQ(turnOn(), answer("doaction", 0));
        EXPECT_EQ(value("SELECT CURRENT_VALUE FROM KOVAD_OBJECT WHERE ID=20"), "1");
    }
};

TEST_F(CoreFaults, GiveTheirCodeAndDoNotEndTheProcess) {
    for (const Lines& row : table("faults of the core: fault, code, log")) {
        SCOPED_TRACE(row[0]);
        coreFaults(row[0]);
        expectFailure(std::stoi(row[1]));
        expectLog(row[2]);
        expectHealth();
    }
}

TEST_F(CoreFaults, CutAtEveryLength) {
    turnOn();
    const Footprint footprint(program().child());
    std::size_t length = 0;
    for (std::string said; said != answer("doaction", 0) && length < 100; ++length) {
        coreFaults("cut=" + std::to_string(length));
        said = turnOn();
        EXPECT_TRUE(said == answer("doaction", 0) || said == answer("doaction", 8)) << said;
    }
    EXPECT_EQ(length, 1 + std::string("Response Status: FSMC-000\nParameter Count: 0").size());
    expectHealth();
}

TEST_F(CoreFaults, ServiceMayGoAndComeBack) {
    stopCore();
    expectFailure(6);
    expectLogs("core down, log");
    startCore();
    expectHealth();
    coreFaults("refuse");
    const int code = Json::parse(turnOn())["result"];
    EXPECT_TRUE(code == 7 || code == 8) << code;  // the core may close before or after the request is written
    coreFaults("delay=300");
    attach();
}

}  // namespace
