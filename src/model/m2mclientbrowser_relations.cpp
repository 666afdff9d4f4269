// The client browser's relation rows: the user with the login token, and the objects that the neighbour registered for.

#include <ctime>

#include "cbase/cstylecode_identity.h"
#include "cbase/logging.h"
#include "cbase/memory.h"
#include "cbase/random.h"
#include "cbase/result.h"
#include "libenvcore/core_request.h"
#include "libenvdb/query.h"
#include "model/m2mclientbrowser.h"

using libenvdb::quoted;

namespace {

constexpr const char* userTypology = "USER_RELATION";
constexpr const char* userAction = "ISLOGGEDAS";
constexpr const char* objectTypology = "REMOTABLE_LOGIC_IMPLICIT_RELATION";
constexpr const char* objectAction = "M2M_CHANGESTATUS";
constexpr const char* registeredAccess = "READ-WRITE";

// The option that says when a user relation was written.
std::string timestamp_now() {
    return "last_timestamp=" + std::to_string(time(nullptr));
}

}  // namespace

bool M2MClientBrowser::idIsValid(const char* operation) const {
    if (getID() >= 0) return true;
    error("%s the client browser ID <%ld> is invalid. Maybe you forgot to insert into/read from DB?", operation,
          getID());
    return false;
}

bool M2MClientBrowser::userIsValid(const char* operation) const {
    if (getUserID() >= 0) return true;
    error("%s the user ID <%ld> is invalid. Maybe you forgot to insert into/read from DB?", operation, getUserID());
    return false;
}

// --- The user and the token ----------------------------------------------------------------------------------------

int M2MClientBrowser::setUser(const std::string& username, const std::string& password) {
    M2MUser user;
    int code = user.readFromDB(username, password);
    if (code != result::ok) {
        error(
            "m2mclientbrowser->setUser( username, password ) error reading from DB user information for username <%s>",
            username.c_str());
        return code;
    }
    code = user.readUserGroupFromDB();
    if (code != result::ok) {
        error(
            "m2mclientbrowser->setUser( username, password ) error reading from DB user group information for username "
            "<%s>",
            username.c_str());
        return code;
    }
    setUser(&user);
    return result::ok;
}

int M2MClientBrowser::setUser(long userid) {
    const M2MUser user(userid);
    if (user.getID() < 0) {
        error("m2mclientbrowser->setUser( userID ) error reading from DB user information for ID <%ld>", userid);
        return result::missing;
    }
    setUser(&user);
    return result::ok;
}

void M2MClientBrowser::setUser(const M2MUser* user) {
    user_ = user == nullptr ? nullptr : std::make_unique<M2MUser>(user);
}

// The seed travels as a zero-terminated text, so a drawn zero character ends it.
int M2MClientBrowser::generateNewToken() {
    constexpr std::size_t seedLength = 8;
    constexpr std::size_t keptCharacters = 3;
    const char character = random_character();
    const std::string seed =
        token_.empty() ? std::string(seedLength, character)
                       : token_.substr(0, keptCharacters) + std::string(seedLength - keptCharacters, character);
    char* encoded = nullptr;
    base64_encode(seed.c_str(), &encoded);
    const XText owner(encoded);
    token_ = encoded == nullptr ? "" : encoded;
    return result::ok;
}

bool M2MClientBrowser::searchRelationWithUserOnDB(bool loadUser) {
    constexpr const char* operation = "m2mclientbrowser->searchRelationWithUserOnDB";
    if (!idIsValid(operation)) return false;
    const auto answer = libenvdb::query(
        "SELECT R.ID AS ID, R.CHILDOBJ_ID AS CB_ID, R.PARENTOBJ_ID AS USER_ID, R.ACTION_VALUE AS TOKEN FROM "
        "KOVAD_OBJECT_RELATION AS R WHERE R.CHILDOBJ_ID=" +
            quoted(getID()) + " AND R.RELATION_WEB_TIPOLOGY=" + quoted(userTypology) +
            " AND R.ACTION=" + quoted(userAction) + ";\n",
        operation);
    const auto* row = answer ? libenvdb::first_row(*answer) : nullptr;
    if (row == nullptr || !libenvdb::has_value(*row, "ID")) return false;
    setUserRelationID(libenvdb::number_in(*row, "ID"));
    setToken(libenvdb::text_in(*row, "TOKEN"));
    if (loadUser) setUser(libenvdb::number_in(*row, "USER_ID"));
    return true;
}

int M2MClientBrowser::insertRelationWithUserOnDB() {
    constexpr const char* operation = "m2mclientbrowser->insertRelationWithUserOnDB";
    if (userRelationID_ >= 0) {
        error(
            "m2mclientbrowser->insertRelationWithUserOnDB error: this relation is already present on DB (its ID is "
            "<%ld>), "
            "you may want to use updateOnDB()?",
            userRelationID_);
        return result::missing;
    }
    if (!idIsValid(operation) || !userIsValid(operation)) return result::missing;
    const auto answer = libenvdb::query(
        "INSERT INTO KOVAD_OBJECT_RELATION ( PARENTOBJ_ID, CHILDOBJ_ID, RELATION_WEB_TIPOLOGY, ACTION, ACTION_VALUE, "
        "OPTIONAL ) VALUES ( " +
            quoted(getUserID()) + ", " + quoted(getID()) + ", " + quoted(userTypology) + ", " + quoted(userAction) +
            ", " + quoted(token_) + ", " + quoted(timestamp_now()) + " ); SELECT last_insert_rowid() AS ID;\n",
        {operation, "\n"});
    if (!answer) return result::dbRequestFailed;
    const auto* row = libenvdb::first_row(*answer);
    if (row == nullptr || !libenvdb::has_value(*row, "ID")) return result::nothingDone;
    setUserRelationID(libenvdb::number_in(*row, "ID"));
    return result::ok;
}

int M2MClientBrowser::updateRelationWithUserOnDB() {
    constexpr const char* operation = "m2mclientbrowser->updateRelationWithUserOnDB";
    if (userRelationID_ < 0) {
        error(
            "m2mclientbrowser->updateRelationWithUserOnDB error: this relation is not present on DB (its ID is <%ld>), "
            "you "
            "may want to use insertOnDB()?",
            userRelationID_);
        return result::missing;
    }
    if (!idIsValid(operation) || !userIsValid(operation)) return result::missing;
    const auto answer =
        libenvdb::query("UPDATE KOVAD_OBJECT_RELATION SET  PARENTOBJ_ID=" + quoted(getUserID()) +
                            ", CHILDOBJ_ID=" + quoted(getID()) + ", ACTION=" + quoted(userAction) +
                            ",  ACTION_VALUE=" + quoted(token_) + ",  RELATION_WEB_TIPOLOGY=" + quoted(userTypology) +
                            ",  OPTIONAL=" + quoted(timestamp_now()) + "  WHERE ID=" + quoted(userRelationID_) + ";\n",
                        {operation, "\n"});
    return answer ? result::ok : result::dbRequestFailed;
}

int M2MClientBrowser::insertOrUpdateRelationWithUserOnDB() {
    const int code = userRelationID_ < 0 ? insertRelationWithUserOnDB() : updateRelationWithUserOnDB();
    const auto reload = libenvcore::make_core_request("SERVICE_LOGINDATARELOAD");
    if (!reload) {
        error("m2mclientbrowser->insertOrUpdateRelationWithUserOnDB error creating the request to velk server!");
        return code;
    }
    reload->compose_updateloginmanagerdata();
    if (reload->run() < 0)
        error("m2mclientbrowser->insertOrUpdateRelationWithUserOnDB error contacting velk server: %s",
              reload->get_last_error());
    return code;
}

// --- Relations with remotable objects ------------------------------------------------------------------------------

std::string M2MClientBrowser::objectRelationCondition(long objectid) const {
    return " WHERE PARENTOBJ_ID=" + quoted(objectid) + " AND CHILDOBJ_ID=" + quoted(getID()) +
           " AND RELATION_WEB_TIPOLOGY=" + quoted(objectTypology) + ";\n";
}

int M2MClientBrowser::insertRelationWithRemotableObjectOnDB(long objectid, long value, const std::string& accessmode) {
    constexpr const char* operation = "m2mclientbrowser->insertRelationWithRemotableObjectOnDB";
    if (!idIsValid(operation)) return result::missing;
    const auto answer = libenvdb::query(
        "INSERT INTO KOVAD_OBJECT_RELATION ( PARENTOBJ_ID, CHILDOBJ_ID, RELATION_WEB_TIPOLOGY, ACCESS_MODE, ACTION, "
        "ACTION_VALUE ) VALUES ( " +
            quoted(objectid) + ", " + quoted(getID()) + ", " + quoted(objectTypology) + ", " + quoted(accessmode) +
            ", " + quoted(objectAction) + ", " + quoted(value >= 0 ? value : objectid) + " );\n",
        {operation, "\n"});
    // A failed INSERT reports no error, it only brings no number: ask then, since the mark in the cache must not
    // disagree.
    const bool stored = answer && (answer->brought_insert_id() || searchRelationWithRemotableObjectOnDB(objectid));
    return stored ? result::ok : result::dbRequestFailed;
}

int M2MClientBrowser::updateRelationWithRemotableObjectOnDB(long objectid, long value, const std::string& accessmode) {
    constexpr const char* operation = "m2mclientbrowser->updateRelationWithRemotableObjectOnDB";
    const auto answer =
        libenvdb::query("UPDATE KOVAD_OBJECT_RELATION SET  ACCESS_MODE=" + quoted(accessmode) +
                            ",  ACTION_VALUE=" + quoted(value) + " " + objectRelationCondition(objectid),
                        {operation, "\n"});
    return answer ? result::ok : result::dbRequestFailed;
}

int M2MClientBrowser::insertOrUpdateRelationWithRemotableObjectOnDB(long objectid, long value,
                                                                    const std::string& accessmode) {
    return searchRelationWithRemotableObjectOnDB(objectid)
               ? updateRelationWithRemotableObjectOnDB(objectid, value, accessmode)
               : insertRelationWithRemotableObjectOnDB(objectid, value, accessmode);
}

bool M2MClientBrowser::searchRelationWithRemotableObjectOnDB(long objectid) const {
    constexpr const char* operation = "m2mclientbrowser->searchRelationWithRemotableObjectOnDB";
    const auto answer = libenvdb::query(
        "SELECT R.ID AS ID, R.CHILDOBJ_ID AS CB_ID, R.PARENTOBJ_ID AS OBJECT_ID, R.ACCESS_MODE AS ACCESS_MODE FROM "
        "KOVAD_OBJECT_RELATION AS R WHERE R.CHILDOBJ_ID=" +
            quoted(getID()) + " AND R.RELATION_WEB_TIPOLOGY=" + quoted(objectTypology) +
            " AND R.PARENTOBJ_ID=" + quoted(objectid) + ";\n",
        operation);
    return answer && libenvdb::first_row(*answer) != nullptr;
}

int M2MClientBrowser::deleteRelationWithRemotableObjectOnDB(long objectid) {
    constexpr const char* operation = "m2mclientbrowser->deleteRelationWithRemotableObjectOnDB";
    const auto answer =
        libenvdb::query("DELETE FROM KOVAD_OBJECT_RELATION" + objectRelationCondition(objectid), {operation, "\n"});
    return answer ? result::ok : result::dbRequestFailed;
}

int M2MClientBrowser::registerObjects(const std::list<long>* ids) {
    if (ids == nullptr) return result::missing;
    int firstFailure = result::ok;
    for (const long id : *ids) {
        int code = insertOrUpdateRelationWithRemotableObjectOnDB(id, id, registeredAccess);
        if (code == result::ok) {
            const auto object = M2MRemotableObject::getNewRemotableObject(id);
            if (object) object->registerObject();
            if (!object) code = result::nothingDone;
        }
        if (firstFailure == result::ok) firstFailure = code;
    }
    return firstFailure;
}

int M2MClientBrowser::unregisterObjects(const std::list<long>* ids) {
    if (ids == nullptr) return result::missing;
    int firstFailure = result::ok;
    for (const long id : *ids) {
        const int code = deleteRelationWithRemotableObjectOnDB(id);
        if (code == result::ok) M2MRemotableObject::markCached(id, false);
        if (firstFailure == result::ok) firstFailure = code;
    }
    return firstFailure;
}

int M2MClientBrowser::unregisterAllObjects() {
    constexpr const char* operation = "m2mclientbrowser->unregisterAllObjects";
    const auto answer = libenvdb::query("DELETE FROM KOVAD_OBJECT_RELATION WHERE CHILDOBJ_ID=" + quoted(getID()) +
                                            " AND RELATION_WEB_TIPOLOGY=" + quoted(objectTypology) + ";\n",
                                        {operation, "\n"});
    if (!answer) return result::dbRequestFailed;
    for (const auto& object : M2MRemotableObject::objectsInCache()) object->setRegister(false);
    return result::ok;
}

int M2MClientBrowser::setEnableAllRelationsRemotableObjectsOnDB(bool enable) {
    constexpr const char* operation = "m2mclientbrowser->setEnableAllRelationsRemotableObjectsOnDB";
    const std::string condition =
        " WHERE CHILDOBJ_ID=" + quoted(getID()) + " AND RELATION_WEB_TIPOLOGY=" + quoted(objectTypology) + ";\n";
    if (!libenvdb::query("UPDATE KOVAD_OBJECT_RELATION SET ENABLE_FLAG=" + quoted(enable ? 1 : 0) + condition,
                         operation))
        return result::dbRequestFailed;
    const auto answer =
        libenvdb::query("SELECT PARENTOBJ_ID AS OBJECT_ID FROM KOVAD_OBJECT_RELATION" + condition, operation);
    if (!answer) return result::dbRequestFailed;
    for (const auto& [index, row] : answer->rows)
        M2MRemotableObject::markCached(libenvdb::number_in(row, "OBJECT_ID"), enable);
    return result::ok;
}

int M2MClientBrowser::deleteAllRelationsFromDB() {
    if (getID() < 0) {
        error("m2mclientbrowser->deleteAllRelationsFromDB error: client browser ID <%ld> is invalid, cannot delete!",
              getID());
        return result::missing;
    }
    const auto answer = libenvdb::query("DELETE FROM KOVAD_OBJECT_RELATION WHERE PARENTOBJ_ID=" + quoted(getID()) +
                                            " OR CHILDOBJ_ID=" + quoted(getID()) + ";\n",
                                        {"m2mclientbrowser->deleteAllRelationsFromDB", "\n"});
    return answer ? result::ok : result::dbRequestFailed;
}
