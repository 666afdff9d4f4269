// The requests about objects: what a neighbour sees of the home, follows, reads and does, and what it is refused.

#include "harness/world.h"

using namespace harness;

namespace {

class Objects : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        startFirstRun();
        attach();
    }
    // One action in the form of the wire.
    static std::string action(const std::string& id, const std::string& item, const std::string& what,
                              const std::string& value) {
        return R"({"id":)" + id + R"(,"items":[{"name":")" + item + R"(","action":")" + what + R"(","action_value":")" +
               value + R"("}]})";
    }
    std::string act(const std::string& actions) { return send("doaction", R"("objects":[)" + actions + "]"); }
    std::string discover(const std::string& context) {
        return send("discovery", R"("context_id":")" + context + R"(")");
    }
    // A section of cases.txt as one text.
    std::string joined(const std::string& section) const {
        std::string all;
        for (const std::string& line : expected(section)) all += line;
        return all;
    }
};

// --- Who may ask ---------------------------------------------------------------------------------------------------

TEST_F(Objects, RequestsWithoutTheRightAreRefusedEachWithItsCode) {
    const auto rows = table("requests without the right: function, members, code, answer, log");
    const std::string good = token;
    for (const std::string& wrong : {std::string(), std::string("stale"), good + "=", good.substr(1), good}) {
        if (wrong == good) home("UPDATE KOVAD_NEIGHBOUR SET ENABLE_FLAG=0");
        for (const Lines& row : rows) {
            statements();
            EXPECT_EQ(ask(request(row[0], wrong, row[1])), answer(row[0], std::stoi(row[2]), row[3])) << wrong;
            expectLog("velklib m2mclienthandler->" + row[4] +
                      " error: neighbour with ID <1> is not valid or not enabled");
            EXPECT_EQ(statements(), expected("neighbour read"));
        }
    }
    EXPECT_EQ(coreRequests(), Lines{});
    Program unbound(20201, {});
    for (const Lines& row : rows)
        EXPECT_EQ(unbound.ask(request(row[0], "", row[1])), response(row[0], std::stoi(row[2]), "", row[3]));
    EXPECT_TRUE(unbound.logs("handleDoActionRequest error: neighbour with ID <-1> is not valid or not enabled"));
}

// --- Discovery -----------------------------------------------------------------------------------------------------

TEST_F(Objects, TopLevelIsTheGroupsThatTheUserMaySee) {
    EXPECT_EQ(discover("-1"), answer("discovery", 0, joined("groups")));
    EXPECT_EQ(statements(), expected("discovery of groups"));
    expectLog(
        "velklib m2mclientbrower->searchRemotableObjectsInContext user is not allowed to see "
        "object with ID <13>");
    for (const char* context :
         {R"("context_id":10)", "", R"("context_id":null)", R"("context_id":"-99999999999999999999")"}) {
        const Json said = Json::parse(send("discovery", context));
        EXPECT_LT(said["context_id"], 0) << context;
        EXPECT_EQ(said["objects"].size(), 3U) << context;
    }
    expectLog(
        "m2mdiscoveryrequestdatagram->M2MDiscoveryRequestDatagram( string ) error parsing tag "
        "<context_id> with error: ");
    EXPECT_EQ(discover("20"), answer("discovery", 0, R"("context_id":20,"objects":[])"));
}

TEST_F(Objects, GroupShowsItsThingsWholeAndReadsThemOnce) {
    EXPECT_EQ(discover("10"), answer("discovery", 0, joined("ground floor")));
    EXPECT_EQ(statements(), expected("discovery of the ground floor"));
    home("UPDATE KOVAD_RENDERING SET MAX_STATE=7; UPDATE KOVAD_OBJECT SET CURRENT_VALUE='1' WHERE ID=20");
    EXPECT_EQ(discover("10"), answer("discovery", 0, joined("ground floor")));  // all of it is cached
    EXPECT_EQ(statements(), expected("second discovery of the ground floor"));
}

TEST_F(Objects, PermissionsGoByTheGroupsOfTheUser) {
    const struct {
        const char* user;
        const char* password;
        const char* groups;
        const char* garden;
    } cases[] = {{"anna", "sesame", "11 12 10 ", "23 27 28 "},
                 {"bruno", "lighthouse", "11 12 10 ", "23 27 "},
                 {"dino", "owl", "13 11 12 10 ", "23 27 28 "}};
    const auto ids = [this](const std::string& context) {
        std::string list;
        const Json said = Json::parse(discover(context));
        for (const Json& object : said["objects"]) list += object["id"].dump() + " ";
        return list;
    };
    for (const auto& test : cases) {
        stop();
        forgetNeighbour();
        startFirstRun();
        attach({.user = test.user, .password = test.password});
        EXPECT_EQ(ids("-1"), test.groups) << test.user;
        EXPECT_EQ(ids("12"), test.garden) << test.user;
    }
    EXPECT_EQ(statements(), expected("discoveries of a user in three groups"));
    home("DELETE FROM KOVAD_OBJECT_RELATION WHERE CHILDOBJ_ID=7");  // in no group any more
    stop();
    start();
    EXPECT_EQ(ids("12"), "23 27 ");
    expectLog(
        "m2muser->checkPermissionForObjectID error: user group list for username <dino> is NULL "
        "or empty \033");
}

// --- Register and unregister ---------------------------------------------------------------------------------------

TEST_F(Objects, RegisteringStoresRelationsAndUnregisteringRemovesThem) {
    const std::string followed =
        "SELECT PARENTOBJ_ID, ACCESS_MODE, ACTION, ACTION_VALUE FROM KOVAD_OBJECT_RELATION WHERE CHILDOBJ_ID=101 AND "
        "RELATION_WEB_TIPOLOGY='REMOTABLE_LOGIC_IMPLICIT_RELATION' ORDER BY ID";
    discover("10");
    statements();
    EXPECT_EQ(send("register", R"("object_ids":[20])"), answer("register", 0));
    EXPECT_EQ(send("register", R"("object_ids":20)"), answer("register", 0));
    EXPECT_EQ(statements(), expected("registering twice"));
    EXPECT_EQ(send("register", R"("object_ids":[22,"21",30])"), answer("register", 0));
    expectLog(
        "m2mregisterrequestdatagram->M2MRegisterRequestDatagram( string ) tag <object_ids>: one "
        "of elements is not an integer value!");
    EXPECT_EQ(home(followed), (Lines{"20|READ-WRITE|M2M_CHANGESTATUS|20", "22|READ-WRITE|M2M_CHANGESTATUS|22",
                                     "30|READ-WRITE|M2M_CHANGESTATUS|30"}));
    // An unknown one in the middle: its code, and the others are handled.
    EXPECT_EQ(send("register", R"("object_ids":[24,999,25])"), answer("register", 10));
    EXPECT_EQ(act(action("24", "x", "turn-off", "0") + "," + action("25", "x", "turn-on", "1")), answer("doaction", 0));
    for (const char* list :
         {"", R"("object_ids":[])", R"("object_ids":"20")", R"("object_ids":{})", R"("object_ids":["x"])"})
        EXPECT_EQ(send("register", list), answer("register", 16)) << list;
    for (const char* list : {"", R"("object_ids":[])", R"("object_ids":"20")", R"("object_ids":{})"})
        EXPECT_EQ(send("unregister", list), answer("unregister", 16)) << list;
    statements();
    EXPECT_EQ(send("unregister", R"("object_ids":[24,"x",25,999,30])"), answer("unregister", 0));
    EXPECT_EQ(statements(), expected("unregistering"));
    EXPECT_EQ(home(followed), (Lines{"20|READ-WRITE|M2M_CHANGESTATUS|20", "22|READ-WRITE|M2M_CHANGESTATUS|22"}));
    EXPECT_EQ(act(action("24", "x", "turn-on", "1")), answer("doaction", 10));
}

// --- Get-status ----------------------------------------------------------------------------------------------------

TEST_F(Objects, StatusIsReadAfreshForWholeObjectsAndNamedItems) {
    const std::string asked =
        R"("objects":[{"id":30,"items":[{"name":"Setpoint"},{"name":"Mode"}]},{"id":"20"},{"id":22}])";
    EXPECT_EQ(send("getstatus", asked), answer("getstatus", 0, joined("status of three")));
    home("UPDATE KOVAD_OBJECT SET CURRENT_VALUE='7' WHERE ID IN (20, 31)");
    statements();
    EXPECT_EQ(send("getstatus", R"("objects":{"id":30,"items":[]})"),
              answer("getstatus", 0, joined("status of the thermostat")));
    EXPECT_EQ(statements(), expected("reading the thermostat"));
    EXPECT_EQ(
        send("getstatus", R"("objects":[{"id":20,"items":{"name":"x"}},{"id":999},{"id":-3}])"),
        answer("getstatus", 0, R"("objects":[{"id":20,"type":"QUOROBJ","current_value":"7","name":"Kitchen light"}])"));
    for (const char* list : {"", R"("objects":7)", R"("objects":[{"id":999}])", R"("objects":[{"id":-3}])",
                             R"("objects":[])", R"("objects":[{"items":[]}])"})
        EXPECT_EQ(send("getstatus", list), answer("getstatus", 16)) << list;
    expectLog("m2mclienthandler->handleGetStatusRequest error: object ID list from request is NULL");
}

// --- Do-action -----------------------------------------------------------------------------------------------------

TEST_F(Objects, ActionsStopAtTheFirstThatFailsAndWhatWasDoneStaysDone) {
    EXPECT_EQ(send("register", R"("object_ids":[20,22,30])"), answer("register", 0));
    EXPECT_EQ(act(action("30", "Setpoint", "set", "22.5") + "," + action("20", "x", "frobnicate", "1") + "," +
                  action("22", "x", "set", "50")),
              answer("doaction", 40));
    EXPECT_EQ(home("SELECT CURRENT_VALUE FROM KOVAD_OBJECT WHERE ID IN (22, 31)"), (Lines{"100", "22.5"}));
    EXPECT_EQ(coreRequests(), expected("two actions, core"));
    expectLog(
        "velklib m2mclienthandler->handleDoActionRequest error: DO ACTION with parameters "
        "<20>-<x>-<frobnicate>-<1> returned error code <40>. Skipping next operations!");
    EXPECT_EQ(act(action("25", "x", "turn-on", "1")), answer("doaction", 10));
    expectLog("m2mclientbrowser->performAction( <turn-on> ) error the object <25> is not registered!");
    for (const std::string& none : {std::string(), action("999", "x", "set", "1"), action("20", "x", "set", ""),
                                    action("20", "", "set", "1"), std::string("7")})
        EXPECT_EQ(act(none), answer("doaction", 10)) << none;
    EXPECT_EQ(coreRequests(), Lines{});
    stop();
    start();  // its marks are gone, its relations are not
    EXPECT_EQ(act(action("\"20\"", "x", "turn-on", "1")), answer("doaction", 0));
    EXPECT_EQ(act(action("25", "x", "turn-on", "1")), answer("doaction", 10));
    EXPECT_EQ(value("SELECT CURRENT_VALUE FROM KOVAD_OBJECT WHERE ID=20"), "1");
    EXPECT_EQ(send("detach", R"("clearneighbour":0)"), response("detach", 0, ""));
    attach();
    EXPECT_EQ(act(action("20", "x", "turn-off", "0")), answer("doaction", 10));
}

// --- What a database may hold --------------------------------------------------------------------------------------

TEST_F(Objects, OddRowsAreShownAsWellAsCanBe) {
    home(joined("odd home"));
    // No schema fits what is left of some of them.
    const auto askUnjudged = [this](const std::string& function, const std::string& members) {
        return exchange(program().port(), true, request(function, token, members)).answer;
    };
    EXPECT_EQ(askUnjudged("discovery", R"("context_id":"900")"), answer("discovery", 0, joined("odd objects")));
    expectLog("m2mremotableobject->encodeJSON error adding tag <name>");
    EXPECT_EQ(
        Json::parse(askUnjudged("getstatus", R"("objects":[{"id":901},{"id":902},{"id":903},{"id":904}])"))["objects"]
            .size(),
        4U);
}

TEST_F(Objects, FiveThousandAreDiscoveredAndReadInOneAnswer) {
    home(
        "INSERT INTO KOVAD_OBJECT (ID, NAME, TYPE, PHPCLASS, RENDERING_ID, CURRENT_VALUE, IS_DISCOVERABLE, "
        "IS_REMOTABLE, IS_VISIBLE) WITH RECURSIVE N(I) AS (SELECT 10001 UNION ALL SELECT I+1 FROM N WHERE I<15000) "
        "SELECT I, 'light ' || I, 'QUOROBJ', 'kovaSwitch', 1, '0', 1, 1, 1 FROM N; INSERT INTO KOVAD_OBJECT_RELATION "
        "(PARENTOBJ_ID, CHILDOBJ_ID) SELECT 900, ID FROM KOVAD_OBJECT WHERE ID>10000");
    const Json said = Json::parse(discover("900"));
    ASSERT_EQ(said["objects"].size(), 5000U);
    EXPECT_EQ(said["objects"][4999]["name"], "light 15000");
    EXPECT_EQ(statements().size(), 2U + 5000 * 2 + 1);  // the rendering is read once
    EXPECT_EQ(Json::parse(discover("900"))["objects"].size(), 5000U);
    EXPECT_EQ(statements().size(), 2U);
    // A statement of more than 16 KB goes out whole.
    stop();
    start({"--noSSL"});
    statements();
    std::string list;
    for (int id = 10001; id <= 14500; ++id)
        list += (list.empty() ? "" : ",") + (R"({"id":)" + std::to_string(id)) + "}";
    const std::string asked = request("getstatus", token, R"("objects":[)" + list + "]");
    EXPECT_EQ(Json::parse(program().askAtOnce(asked))["objects"].size(), 4500U);
    EXPECT_GT(statements().back().size(), 4500U * 6);
}

}  // namespace
