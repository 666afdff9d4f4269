#include "home/runners.h"

#include <iostream>

#include "home/coreclient.h"

namespace lab {

namespace {

std::string ask_core(const Context& context, const std::string& id, const std::string& command) {
    return run_on_element(context, id, id, command, "COMMANDLINETOOL");
}

}  // namespace

int list_runners(Context& context) {
    return list(context, {"ID", "RUNNER", "STATUS", "PID", "CALLS ON", "OPTIONS", "COMMAND"},
                "SELECT ID, NAME, CASE STATUS_ID WHEN 0 THEN 'stopped' WHEN 1 THEN 'starting' WHEN 2 THEN 'running' "
                "ELSE 'failed' END, VALUES_TYPE, MIN_VALUE, OPTIONALP, MSP FROM KOVAD_OBJECT WHERE TYPE='CSCMD' "
                "ORDER BY ID");
}

int add_runner(Context& context, uint16_t port, bool tls, bool start) {
    const QueryResult added = context.database.run(
        "INSERT INTO KOVAD_OBJECT (NAME, TYPE, PHPCLASS, OPTIONALP) VALUES ('M2M link', 'CSCMD', 'kovaScriptRunner', "
        "'loop=1|timer=0|startup=1|interpreter=c')");
    if (!added.ok()) return complain(added.error);
    const std::string id = std::to_string(added.last_insert_id);
    const std::string command = "/usr/local/bin/m2mclientmanager --first-run --listen-for-attach-on-port " +
                                std::to_string(port) + " --id " + id + (tls ? "" : " --noSSL");
    const QueryResult stored = context.database.run("UPDATE KOVAD_OBJECT SET MSP=? WHERE ID=?", {command, id});
    if (report(stored, "runner " + id + " added: " + command) != 0) return 1;
    if (start && !ask_core(context, id, "RUN").empty())
        std::cout << "fsmcore has not started it; it starts with fsmcore" << std::endl;
    return 0;
}

int command_runner(Context& context, const std::string& id, const std::string& command) {
    const std::string problem = ask_core(context, id, command);
    if (!problem.empty()) return complain(problem);
    std::cout << "fsmcore was asked to " << (command == "RUN" ? "start" : "quit") << " runner " << id << std::endl;
    return 0;
}

int remove_runner(Context& context, const std::string& id) {
    ask_core(context, id, "QUIT");  // not there, or not running: all the same
    const QueryResult removed = context.database.run("DELETE FROM KOVAD_OBJECT WHERE TYPE='CSCMD' AND ID=?", {id});
    if (removed.ok() && removed.changes == 0) return complain("there is no runner " + id);
    return report(removed, "runner " + id + " removed");
}

}  // namespace lab
