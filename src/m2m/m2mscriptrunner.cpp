#include "m2m/m2mscriptrunner.h"

#include "cbase/logging.h"
#include "cbase/numbers.h"
#include "cbase/result.h"
#include "libenvcore/core_request.h"
#include "libenvdb/query.h"

using libenvdb::quoted;

namespace {

constexpr const char* runnerType = "CSCMD";
constexpr const char* runnerPhpClass = "kovaScriptRunner";
constexpr const char* firstRunOption = "--first-run";
constexpr const char* localAddress = "127.0.0.1";
constexpr const char* commandCaller = "COMMANDLINETOOL";

}  // namespace

M2MScriptRunner::M2MScriptRunner(long id) {
    if (id >= 0) readFromDB(static_cast<int>(id));
}

M2MScriptRunner::M2MScriptRunner(const M2MScriptRunner* other) {
    if (other != nullptr) *this = *other;
}

M2MScriptRunner::M2MScriptRunner(bool firstRun, int fd, int port, bool sslEnabled)
    : M2MScriptRunner("Open Tirel Manager runner", "/usr/local/bin/m2mclientmanager") {
    if (firstRun) command_ += std::string(" ") + firstRunOption;
    if (!sslEnabled) command_ += " --noSSL";
    command_ += " --fd " + std::to_string(fd) + " --listen-for-attach-on-port " + std::to_string(port);
}

M2MScriptRunner::M2MScriptRunner(std::string name, std::string command)
    : command_(std::move(command)), name_(std::move(name)) {
    setType(runnerType);
    setPhpClass(runnerPhpClass);
    setOptional("loop=1|timer=0|startup=1|interpreter=c");
}

int M2MScriptRunner::readFromDB(int id) {
    const auto answer = libenvdb::query(
        "SELECT O.ID AS ID, O.NAME AS NAME, O.TYPE AS TYPE, O.STATUS_ID AS STATUS_ID, O.VALUES_TYPE AS PID, "
        "O.MIN_VALUE AS "
        "KOVAD_PORT, O.MSP AS COMMAND, O.OPTIONALP AS OPTIONALS, O.PHPCLASS AS PHPCLASS FROM KOVAD_OBJECT AS O WHERE "
        "O.ID=" +
            quoted(id) + " AND O.TYPE=" + quoted(runnerType) + ";\n",
        {"m2mscriptrunner->readFromDB", "\n"});
    if (!answer) return result::dbRequestFailed;
    const auto* row = libenvdb::first_row(*answer);
    if (row == nullptr || !libenvdb::has_value(*row, "ID")) return result::missing;
    setID(libenvdb::number_in(*row, "ID"));
    setName(libenvdb::text_in(*row, "NAME"));
    setType(libenvdb::text_in(*row, "TYPE"));
    setStatusID(static_cast<runnerStatusID>(libenvdb::number_in(*row, "STATUS_ID")));
    setPID(static_cast<int>(libenvdb::number_in(*row, "PID")));
    setPort(static_cast<int>(libenvdb::number_in(*row, "KOVAD_PORT")));
    setOptional(libenvdb::text_in(*row, "OPTIONALS"));
    setCommand(libenvdb::text_in(*row, "COMMAND"));
    setPhpClass(libenvdb::text_in(*row, "PHPCLASS"));
    return result::ok;
}

int M2MScriptRunner::insertOnDB() {
    if (getID() >= 0) {
        error(
            "m2mscriptrunner->insertOnDB error: this object is already present on DB (its ID is <%ld>), you may want "
            "to use "
            "updateOnDB()?",
            getID());
        return result::missing;
    }
    const auto answer = libenvdb::query(
        "INSERT INTO KOVAD_OBJECT ( NAME, TYPE, STATUS_ID, MSP, OPTIONALP, PHPCLASS ) VALUES ( " + quoted(name_) +
            ", " + quoted(getType()) + ", " + quoted(static_cast<int>(statusID_)) + ", " + quoted(command_) + ", " +
            quoted(getOptional()) + ", " + quoted(getPhpClass()) + " ); SELECT last_insert_rowid() AS ID;\n",
        {"m2mscriptrunner->insertOnDB", "\n"});
    if (!answer) return result::dbRequestFailed;
    const auto* row = libenvdb::first_row(*answer);
    if (row == nullptr || !libenvdb::has_value(*row, "ID")) {
        error("m2mscriptrunner->insertOnDB error retrieving the ID of the last object inserted");
        return result::missing;
    }
    setID(libenvdb::number_in(*row, "ID"));
    return result::ok;
}

int M2MScriptRunner::updateOnDB() {
    if (getID() < 0) {
        error("m2mscriptrunner->updateOnDB error: cannot update the runner, the ID <%ld> is not valid ", getID());
        return result::missing;
    }
    const auto answer =
        libenvdb::query("UPDATE KOVAD_OBJECT SET NAME=" + quoted(name_) + ",MSP=" + quoted(command_) +
                            ",OPTIONALP=" + quoted(getOptional()) + " WHERE ID=" + quoted(getID()) + ";\n",
                        {"m2mscriptrunner->updateOnDB", "\n"});
    return answer ? result::ok : result::dbRequestFailed;
}

int M2MScriptRunner::deleteFromDB() {
    if (getID() < 0) {
        error("m2mscriptrunner->deleteFromDB error: cannot delete the runner, the ID <%ld> is not valid ", getID());
        return result::missing;
    }
    const auto answer = libenvdb::query("DELETE FROM KOVAD_OBJECT WHERE ID=" + quoted(getID()) + ";\n",
                                        {"m2mscriptrunner->deleteFromDB", "\n"});
    return answer ? result::ok : result::dbRequestFailed;
}

int M2MScriptRunner::removeFirstRunParameter() {
    std::size_t at = command_.find(firstRunOption);
    if (at != std::string::npos) {
        std::size_t length = std::string(firstRunOption).size();
        if (at > 0 && command_[at - 1] == ' ') {
            --at;
            ++length;
        }
        command_.erase(at, length);
    }
    return updateOnDB();
}

int M2MScriptRunner::deleteOtherRunnerForNeighbour(long neighbourID) const {
    const auto answer = libenvdb::query("SELECT O.ID AS ID FROM KOVAD_OBJECT AS O WHERE O.ID <> " + quoted(getID()) +
                                            " AND O.TYPE=" + quoted(runnerType) + " AND O.OPTIONALP LIKE '%%" +
                                            neighbourIdOption + "=" + std::to_string(neighbourID) + "%%';\n",
                                        {"m2mscriptrunner->deleteOtherRunnerForNeighbour", "\n"});
    if (!answer) return result::dbRequestFailed;
    for (const auto& [index, row] : answer->rows) {
        M2MScriptRunner other(libenvdb::number_in(row, "ID"));
        const std::string id = std::to_string(other.getID());
        other.quit(id, id);
        other.deleteFromDB();
    }
    return result::ok;
}

int M2MScriptRunner::run(const std::string& target, const std::string& /*unused*/) const {
    return executeFSMCoreCommand(localAddress, target, "RUN", commandCaller);
}

int M2MScriptRunner::quit(const std::string& target, const std::string& /*unused*/) const {
    return executeFSMCoreCommand(localAddress, target, "QUIT", commandCaller);
}

int M2MScriptRunner::executeFSMCoreCommand(const std::string& sessionText, const std::string& target,
                                           const std::string& command, const std::string& caller) const {
    if (getID() < 0) {
        error(
            "m2mscriptrunner->executeFSMCoreCommand( <%s> ) error: object ID <%ld> on database not valid! You forgot "
            "to "
            "insert the object into DB or to read it from DB?",
            command.c_str(), getID());
        return result::missing;
    }
    const auto request = libenvcore::make_core_request(command.c_str());
    if (!request) {
        error("m2mscriptrunner->executeFSMCoreCommand( <%s> ) error creating the request to velk server!",
              command.c_str());
        return result::coreUnreachable;
    }
    if (request->get_last_error() != nullptr) {
        error("m2mscriptrunner->executeFSMCoreCommand( <%s> ) error creating the request to velk server: %s",
              command.c_str(), request->get_last_error());
        return result::coreUnreachable;
    }
    const std::string id = std::to_string(getID());
    request->compose_runonelement(sessionText.c_str(), target.c_str(), id.c_str(), command.c_str(), nullptr, nullptr,
                                  nullptr, caller.c_str());
    if (request->run() < 0) {
        error("m2mscriptrunner->executeFSMCoreCommand( <%s> ) error contacting velk server: %s", command.c_str(),
              request->get_last_error());
        return result::coreUnreachable;
    }
    return request->get_coreserviceresponsestatus();
}
