#include "model/m2muser.h"

#include <openssl/sha.h>

#include <array>

#include "cbase/cstylecode_identity.h"
#include "cbase/logging.h"
#include "cbase/memory.h"
#include "cbase/numbers.h"
#include "cbase/result.h"
#include "libenvcore/core_request.h"
#include "libenvdb/query.h"

using libenvdb::quoted;

M2MUser::M2MUser(long id) {
    readFromDB(id);
    if (getID() >= 1) readUserGroupFromDB();
}

M2MUser::M2MUser(const M2MUser* other) {
    if (other == nullptr) return;
    setID(other->getID());
    username_ = other->username_;
    userGroupList_ = other->userGroupList_;
}

void M2MUser::setUserGroupList(const std::list<M2MUserGroup>* groups) {
    userGroupList_ = groups == nullptr ? std::list<M2MUserGroup>() : *groups;
}

int M2MUser::takeFirstRow(const libenvdb::db_request& answer, const std::string& noRow, const char* unreadableRow) {
    const auto* row = libenvdb::first_row(answer);
    if (row == nullptr) {
        error("%s", noRow.c_str());
        return result::missing;
    }
    if (!libenvdb::has_value(*row, "ID")) {
        error("%s", unreadableRow);
        return result::nothingDone;
    }
    setID(libenvdb::number_in(*row, "ID"));
    setUsername(libenvdb::text_in(*row, "USERNAME"));
    return result::ok;
}

int M2MUser::readFromDB(const std::string& username, const std::string& password) {
    const auto answer = libenvdb::query("SELECT O.ID AS ID, O.NAME AS USERNAME FROM KOVAD_OBJECT AS O WHERE O.NAME=" +
                                            quoted(username) + " AND O.TYPE='USER';\n",
                                        "m2muser->readFromDB");
    if (!answer) return result::dbRequestFailed;
    const int code = takeFirstRow(*answer, "m2muser->readFromDB error retrieving the username <" + username + ">",
                                  "m2muser->readFromDB error retrieving the user information from SQL result");
    if (code != result::ok) return code;
    if (!checkUsernameAndPasswordValidity(password)) {
        error("m2muser->readFromDB password for the username <%s> is invalid!", username.c_str());
        return result::refused;
    }
    return result::ok;
}

int M2MUser::readFromDB(long id) {
    const auto answer =
        libenvdb::query("SELECT O.ID AS ID, O.NAME AS USERNAME FROM KOVAD_OBJECT AS O WHERE O.ID=" + quoted(id) +
                            " AND O.TYPE='USER';\n",
                        "m2muser->readFromDB");
    if (!answer) return result::dbRequestFailed;
    return takeFirstRow(*answer, "m2muser->readFromDB error retrieving the ID: object not found",
                        "m2muser->readFromDB error retrieving the ID from SQL result");
}

int M2MUser::readUserGroupFromDB() {
    const auto answer = libenvdb::query(
        "SELECT R.PARENTOBJ_ID AS ID FROM KOVAD_OBJECT_RELATION AS R WHERE R.CHILDOBJ_ID=" + quoted(getID()) +
            " AND R.RELATION_WEB_TIPOLOGY='USERGROUP_RELATION';\n",
        "m2muser->readUserGroupFromDB");
    if (!answer) return result::dbRequestFailed;
    if (answer->rows.empty()) {
        error("m2muser->readUserGroupFromDB error retrieving the user groups related to user <%ld>", getID());
        return result::missing;
    }
    for (const auto& [index, row] : answer->rows) {
        const std::string id = libenvdb::text_in(row, "ID");
        if (!id.empty()) userGroupList_.emplace_back(to_number(id));
    }
    return result::ok;
}

std::string password_credential(const std::string& password) {
    std::array<unsigned char, SHA_DIGEST_LENGTH + 1> digest{};
    SHA1(reinterpret_cast<const unsigned char*>(password.data()), password.size(), digest.data());
    char* encoded = nullptr;
    base64_encode(reinterpret_cast<const char*>(digest.data()), &encoded);
    const XText owner(encoded);
    return std::string("{SHA}") + (encoded == nullptr ? "" : encoded);
}

bool M2MUser::checkUsernameAndPasswordValidity(const std::string& password) const {
    // These texts name the client handler, whose logins they report.
    const auto request = libenvcore::make_core_request("SERVICE_LOGIN");
    if (!request) {
        error("m2mclienthandler->checkUsernameAndPasswordValidity( <%s> ) error creating the request to velk server!",
              username_.c_str());
        return false;
    }
    if (request->get_last_error() != nullptr) {
        error(
            "m2mclienthandler->checkUsernameAndPasswordValidity( <%s> ) error creating the request to velk server: %s",
            username_.c_str(), request->get_last_error());
        return false;
    }
    request->set_coreservicerequestparameter(username_.c_str());
    request->set_coreservicerequestparameter(password_credential(password).c_str());
    request->set_coreservicerequestparameter("127.0.0.1");
    const int code = request->run();
    if (code < 0) {
        error(
            "m2mclienthandler->checkUsernameAndPasswordValidity( <%s> ) error: username and password not valid [ error "
            "code %d ]",
            username_.c_str(), code);
        return false;
    }
    return request->get_coreserviceresponsestatus() == 0;
}

bool M2MUser::checkPermissionForObjectID(long objectid) const {
    if (userGroupList_.empty()) {
        error("m2muser->checkPermissionForObjectID error: user group list for username <%s> is NULL or empty ",
              username_.c_str());
        return false;
    }
    std::string groups;
    for (const M2MUserGroup& group : userGroupList_)
        groups += (groups.empty() ? "" : ",") + std::to_string(group.getID());
    const auto answer = libenvdb::query(
        "SELECT COUNT(*) AS COUNT FROM KOVAD_OBJECT_RELATION AS R WHERE R.CHILDOBJ_ID=" + quoted(objectid) +
            " AND R.RELATION_WEB_TIPOLOGY='USERGROUP_RELATION' AND R.PARENTOBJ_ID IN (" + groups + ") ;\n",
        "m2muser->checkPermissionForObjectID");
    if (!answer) return false;
    const auto* row = libenvdb::first_row(*answer);
    if (row != nullptr && libenvdb::number_in(*row, "COUNT") > 0) return true;
    error("m2muser->checkPermissionForObjectID permission for user <%s> and object ID <%ld> not found",
          username_.c_str(), objectid);
    return false;
}
