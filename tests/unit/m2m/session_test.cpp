// The runner's record, and the session's command line and message identifiers. What a session does is seen from outside
// by the system tests.
#include <cstdlib>
#include <set>
#include <string>

#include "m2m/m2mclienthandler.h"
#include "m2m/m2mscriptrunner.h"
#include "support/services.h"

namespace {

class ScriptRunner : public WithServices {};

TEST_F(ScriptRunner, IsInsertedReadUpdatedAndDeleted) {
    M2MScriptRunner made(true, 3, 45200, false);
    step("update, not stored", [&] { return made.updateOnDB(); });
    step("delete, not stored", [&] { return made.deleteFromDB(); });
    step("quit, not stored", [&] { return made.quit("1", ""); });
    step("insert", [&] { return made.insertOnDB(); });
    M2MScriptRunner read;
    step("read", [&] { return read.readFromDB(101); });
    read.setOption("neighbour_id", "5");
    step("removeFirstRunParameter", [&] { return read.removeFirstRunParameter(); });
    step("insert, stored", [&] { return read.insertOnDB(); });
    step("delete", [&] { return read.deleteFromDB(); });
    EXPECT_EQ(M2MScriptRunner(false, 3, 1, true).getCommand(),
              "/usr/local/bin/m2mclientmanager --fd 3 --listen-for-attach-on-port 1");
    script("KOVAD_OBJECT");
    step("read, failing", [&] { return read.readFromDB(40); });
}

TEST_F(ScriptRunner, OthersOfTheNeighbourAreQuitAndDeletedBySubstring) {
    sql("INSERT INTO KOVAD_OBJECT (ID, TYPE, OPTIONALP) VALUES (50, 'CSCMD', 'neighbour_id=5'), "
        "(51, 'CSCMD', 'a=1|neighbour_id=51'), (52, 'CSCMD', 'neighbour_id=6')");
    sql("UPDATE KOVAD_OBJECT SET OPTIONALP='neighbour_id=5' WHERE ID IN (20, 40)");  // no runner, and the own row
    const M2MScriptRunner own(40L);
    prepare();
    step("delete others", [&] { return own.deleteOtherRunnerForNeighbour(5); });
    replyNext(45);
    step("run, refused", [&] { return own.run("t", ""); });
}

class ClientHandler : public WithServices {};

TEST_F(ClientHandler, OptionsAreTestedOneAfterTheOther) {
    for (const auto& c : cases(__FILE__, "options")) {
        Texts words = c[0];
        std::vector<char*> argv;
        for (std::string& word : words) argv.push_back(word.data());
        M2MClientHandler handler;
        handler.searchParametersFromArgument(static_cast<int>(argv.size()), argv.data());
        EXPECT_EQ(handler.getFirstRun(), c[1]) << c;
        EXPECT_EQ(handler.getPort(), c[2]) << c;
        EXPECT_EQ(handler.isSSLEnabled(), c[3]) << c;
        EXPECT_EQ(handler.getRunner() == nullptr ? -1 : handler.getRunner()->getID(), c[4]) << c;
    }
}

// A clear-all whose answer could not be sent does not end the runner: nor may the watchdog do so for it.
TEST_F(ClientHandler, DeletingItsRecordsIsNoReasonToWaitForAnAttach) {
    M2MClientHandler handler;
    handler.setAttachArrived(true);
    prepare([&] { EXPECT_EQ(handler.deleteFromDB(), 0); });
    EXPECT_TRUE(handler.validAttachIsArrived());
}

TEST_F(ClientHandler, MessageIdentifiersAreEightTimesOneCharacter) {
    std::srand(1);
    std::set<std::string> seen;
    std::set<std::string> all;
    for (int i = 0; i < 5000; ++i) seen.insert(M2MClientHandler().generateNewMessageID());
    for (int c = 0; c < 128; ++c) all.insert(std::string(8, static_cast<char>(c)));
    EXPECT_EQ(seen, all);
}

}  // namespace
