// The records of neighbours, users and client browsers against a real database and a core.
#include <openssl/evp.h>

#include <cstdlib>
#include <string>

#include "cbase/m2mutil.h"
#include "model/m2mclientbrowser.h"
#include "model/m2mneighbour.h"
#include "support/services.h"

namespace {

class Neighbour : public WithServices {
  protected:
    // Villa, stored as 7 and loaded, with optionals that the database does not know.
    Neighbour() {
        sql("INSERT INTO KOVAD_NEIGHBOUR VALUES (7, 'P', '1.0', '192.0.2.7', 80, 'ONLINE', '02:AA', 'Villa', 'x', 1, "
            "12, 1)");
        neighbour.setUID("02:AA");
        neighbour.setOptionals("o=1");
        prepare([this] { neighbour.fillFromDB(); });
    }
    M2MNeighbour neighbour{static_cast<const M2MNeighbour*>(nullptr)};
};

TEST_F(Neighbour, IsLoadedByUidBeforeIdStoredDisabledUpdatedAndDeleted) {
    step("by ID", [] { return M2MNeighbour(7L).getName(); });
    neighbour.setID(99);
    step("by both", [&] { return neighbour.fillFromDB(); });
    step("saved with all fields, optionals of its own among them", [&] { return neighbour.insertOrUpdateOnDB(); });
    neighbour.setUID("02:BB");
    step("unknown", [&] { return neighbour.fillFromDB(); });
    step("saved, new", [&] { return neighbour.insertOrUpdateOnDB(); });
    EXPECT_EQ(std::to_string(neighbour.getID()) + sql("SELECT ENABLE_FLAG FROM KOVAD_NEIGHBOUR WHERE ID=8"), "80");
    step("deleted", [&] { return neighbour.deleteFromDB(); });
    EXPECT_EQ(neighbour.getID(), -1);
}

TEST_F(Neighbour, FailuresAreToldAndLeaveTheRecordAsItWas) {
    M2MNeighbour unknown;
    step("fillFromDB without key", [&] { return unknown.fillFromDB(); });
    step("alreadyPresendOnDB without key", [&] { return unknown.alreadyPresendOnDB(); });
    step("searchOnDBByIPAddress without key", [&] { return unknown.searchOnDBByIPAddress(); });
    script("KOVAD_NEIGHBOUR");
    neighbour.setName("selected");  // the word makes the answer to an UPDATE matter
    step("fillFromDB", [&] { return neighbour.fillFromDB(); });
    step("insertOrUpdateOnDB", [&] { return neighbour.insertOrUpdateOnDB(); });
    step("updateOnDB", [&] { return neighbour.updateOnDB(); });
    EXPECT_EQ(neighbour.getID(), 7);
    endScripts();
    script("KOVAD_NEIGHBOUR", "Response: FSMC-000\nNum rows: 2\nFields   : 'id','Enable_Flag'\nRow 00000: '','0'\n");
    prepare([&] { EXPECT_EQ(neighbour.fillFromDB(), 0) << "a row without an ID counts for the columns that it has"; });
    EXPECT_EQ(neighbour.getID(), 7);
    EXPECT_FALSE(neighbour.getEnableFlag());
}

TEST_F(Neighbour, LookUpsKeepTheirStatements) {
    step("no database takes the doubled alias", [&] { return neighbour.searchOnDBByIPAddress(); });
    long id = -5;
    step("m2m_neighbouralreadyexists", [&] { return m2m_neighbouralreadyexists("192.0.2.7", &id) * 100 + id; });
    const auto enabled = [] {
        return m2m_attachlisteningisenabled("KOVA_M2M_CONFIGURATION", "KOVA_M2M_ATTACH_ENABLE_FLAG", "1");
    };
    step("flag", enabled);
    for (const std::string value : {" 1", "01", "1 ", "0", ""}) {
        sql("UPDATE KOVA_M2M_CONFIGURATION SET VALUE='" + value + "'");
        EXPECT_EQ(enabled(), 0) << value;
    }
    sql("DELETE FROM KOVA_M2M_CONFIGURATION");
    prepare();
    step("missing flag", enabled);
    script("SELECT");
    step("failing flag", enabled);
    step("failing m2m_neighbouralreadyexists", [] { return m2m_neighbouralreadyexists("192.0.2.7", nullptr); });
}

class User : public WithServices {};

TEST_F(User, LogsInByNameWithACredential) {
    M2MUser user;
    step("login", [&] { return user.readFromDB("anna", "sesame"); });
    replyNext(29);
    step("wrong password", [&] { return user.readFromDB("anna", "wrong"); });
    step("unknown", [&] { return user.readFromDB("nobody", "x"); });
    script("'odd'", "Response: FSMC-000\nNum rows: 2\nFields   : 'OTHER'\nRow 00000: '1'\n");
    step("row without ID", [&] { return user.readFromDB("odd", "x"); });
}

TEST_F(User, ReachesWhatOneOfItsGroupsReaches) {
    sql("DELETE FROM KOVAD_OBJECT WHERE ID=2");
    M2MUser dino;
    step("in three groups, one of them gone", [&] { return (dino = M2MUser(7L)).getUserGroupList()->size(); });
    step("unknown", [] { return M2MUser(999L).getID(); });
    step("a right", [&] { return dino.checkPermissionForObjectID(29); });
    step("none", [&] { return dino.checkPermissionForObjectID(20); });
    step("in no group", [] { return M2MUser(6L).checkPermissionForObjectID(29); });
    script("COUNT(*)");
    step("failing", [&] { return dino.checkPermissionForObjectID(29); });
}

class ClientBrowser : public WithServices {
  protected:
    ClientBrowser() {
        browser.setIPAddress("192.0.2.7");
        browser.setOption("neighbour_id", "5");
        prepare([this] { browser.insertOnDB(), browser.setUser(7L); });  // becomes 101
    }
    // The cached objects that are marked as registered.
    static std::string marks() {
        std::string ids;
        for (const auto& object : M2MRemotableObject::objectsInCache())
            if (object->isRegistered()) ids += std::to_string(object->getID()) + " ";
        return ids;
    }
    int registerIDs(const std::list<long>& ids) { return browser.registerObjects(&ids); }
    // Leaves the rooms and what is in two of them in the cache.
    void cacheObjects() {
        for (const long context : {-1, 10, 12}) prepare([&] { browser.searchRemotableObjectsInContext(context); });
    }
    M2MClientBrowser browser;
};

TEST_F(ClientBrowser, RowIsInsertedFoundUpdatedAndDeleted) {
    M2MClientBrowser other;
    step("update, not stored", [&] { return other.updateOnDB(); });
    step("delete, not stored", [&] { return other.deleteFromDB(); });
    step("delete relations, not stored", [&] { return other.deleteAllRelationsFromDB(); });
    step("by no address", [&] { return other.searchOnDBByIPAddress(false); });
    step("store", [&] { return other.insertOrUpdateOnDB(); });
    step("store", [&] { return other.insertOrUpdateOnDB(); });
    step("insert, stored", [&] { return other.insertOnDB(); });
    other.setIPAddress("192.0.2.7");
    step("by address", [&] { return other.searchOnDBByIPAddress(false) ? other.getID() : -1; });
    step("by another neighbour", [&] { return other.searchOnDBByNeighbourID(true, 6); });
    step("by no neighbour", [&] { return other.searchOnDBByNeighbourID(true, -1); });
    step("delete relations", [&] { return other.deleteAllRelationsFromDB(); });
    step("delete", [&] { return other.deleteFromDB(); });
    step("by ID", [] { return M2MClientBrowser(101).getID(); });
}

TEST_F(ClientBrowser, UserRelationIsStoredAndFoundAgain) {
    browser.setToken("t1");
    step("store", [&] { return browser.insertOrUpdateRelationWithUserOnDB(); });
    browser.setToken("t2");
    step("store", [&] { return browser.insertOrUpdateRelationWithUserOnDB(); });
    step("insert, stored", [&] { return browser.insertRelationWithUserOnDB(); });
    M2MClientBrowser found;
    step("store without a browser", [&] { return found.insertOrUpdateRelationWithUserOnDB(); });
    step("search without a browser", [&] { return found.searchRelationWithUserOnDB(true); });
    step("by neighbour", [&] { return found.searchOnDBByNeighbourID(true, 5); });
    EXPECT_EQ(found.getToken() + found.getUser()->getUsername() + found.getIPAddress(), "t2dino192.0.2.7");
    EXPECT_EQ(found.getUserRelationID(), browser.getUserRelationID());
    replyNext(29);
    prepare([&] {
        EXPECT_EQ(found.setUser("anna", "wrong"), 29);
        EXPECT_EQ(found.setUser("carla", "garden"), 16);  // in no group
        EXPECT_EQ(found.setUser(999L), 16);
        EXPECT_EQ(found.getUserID(), 7);
        EXPECT_EQ(found.setUser("anna", "sesame"), 0);
        EXPECT_EQ(found.getUserID(), 4);
    });
}

TEST_F(ClientBrowser, TokenIsMadeOfTheOneBeforeAndOneCharacter) {
    std::srand(1);
    for (int i = 0; i < 400; ++i) {
        const std::string kept = browser.getToken().substr(0, 3);
        browser.generateNewToken();
        const std::string token = browser.getToken();
        unsigned char decoded[16] = {};
        EVP_DecodeBlock(decoded, reinterpret_cast<const unsigned char*>(token.data()), static_cast<int>(token.size()));
        const std::string seed = reinterpret_cast<const char*>(decoded);
        const std::string drawn = seed.substr(kept.size());  // a drawn zero ends the seed
        EXPECT_TRUE(seed.starts_with(kept) && (drawn.empty() || drawn == std::string(8 - kept.size(), drawn[0])))
            << seed;
        EXPECT_TRUE(browser.verifyToken(token) && !browser.verifyToken(token + "x"));
    }
}

TEST_F(ClientBrowser, RegistersWhatCanBeStoredAndRead) {
    cacheObjects();
    step("register", [&] { return registerIDs({20, 30}); });
    EXPECT_EQ(marks(), "20 30 31 32 33 ");
    step("again", [&] { return registerIDs({20}); });
    const std::list<long> one{20};
    step("unregister", [&] { return browser.unregisterObjects(&one); });
    EXPECT_EQ(marks(), "30 31 32 33 ");
    // A failure in the middle of a list: the rest is done, the first code is the result, marks and rows agree.
    script("VALUES ( '24'", "Response: LastID '99999999999'\n");
    prepare([&] { EXPECT_EQ(registerIDs({20, 24, 999, 25}), 13); });
    EXPECT_EQ(marks(), "20 25 30 31 32 33 ");
    EXPECT_FALSE(browser.searchRelationWithRemotableObjectOnDB(24));
    prepare([&] { EXPECT_EQ(registerIDs({999}), 10); });
    endScripts();
    script("VALUES ( '24'", "Response: OK\n");
    step("register, answered without a number", [&] { return registerIDs({24}); });
    for (const char* number : {"Response: FSMC-000\n", "Response: FSMC-0\n5\n"}) {
        endScripts();
        script("VALUES ( '25'", number);
        EXPECT_EQ(browser.insertRelationWithRemotableObjectOnDB(25, 25, "R"), 0);
        EXPECT_EQ(takeRequests().size(), 1U) << number;
    }
    EXPECT_EQ(browser.registerObjects(nullptr) + browser.unregisterObjects(nullptr), 32);
    prepare();
    step("disable all", [&] { return browser.setEnableAllRelationsRemotableObjectsOnDB(false); });
    EXPECT_EQ(marks(), "");
    step("enable all", [&] { return browser.setEnableAllRelationsRemotableObjectsOnDB(true); });
    EXPECT_EQ(marks(), "20 25 30 31 32 33 ");
    step("unregister all", [&] { return browser.unregisterAllObjects(); });
    EXPECT_EQ(marks(), "");
}

TEST_F(ClientBrowser, ActsOnWhatItHasRegisteredForAlsoAfterARestart) {
    cacheObjects();
    step("not stored", [] { return M2MClientBrowser().performAction(20, "n", "set", "1"); });
    step("without a token", [&] { return browser.performAction(20, "n", "set", "1"); });
    browser.setToken("tok");
    step("not registered", [&] { return browser.performAction(20, "n", "set", "1"); });
    prepare([&] { EXPECT_EQ(browser.performAction(999, "n", "set", "1"), 10); });
    prepare([&] { EXPECT_EQ(registerIDs({20, 30}), 0); });
    for (const auto& object : M2MRemotableObject::objectsInCache()) object->setRegister(false);  // as a restart does
    step("registered before", [&] { return browser.performAction(20, "n", "set", "1"); });
    step("element", [&] { return browser.performAction(30, "Setpoint", "up", "2"); });
    step("element by its tag", [&] { return browser.performAction(30, "setpoint", "up", ""); });
    replyNext(42);
    step("refused", [&] { return browser.performAction(20, "n", "set", "7"); });
}

}  // namespace
