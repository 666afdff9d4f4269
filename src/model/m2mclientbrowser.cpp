#include "model/m2mclientbrowser.h"

#include "cbase/logging.h"
#include "cbase/numbers.h"
#include "cbase/result.h"
#include "libenvdb/query.h"

using libenvdb::quoted;

// The record itself and its row in the object table. Its relations are in m2mclientbrowser_relations.cpp, what the
// neighbour sees and does in m2mclientbrowser_objects.cpp.

namespace {

constexpr const char* browserType = "CLIENTBROWSER";
constexpr const char* browserPhpClass = "kovaClientBrowser";

}  // namespace

M2MClientBrowser::M2MClientBrowser() {
    setType(browserType);
    setPhpClass(browserPhpClass);
}

M2MClientBrowser::M2MClientBrowser(long id) : M2MClientBrowser() {
    readFromDB(id);
}

M2MClientBrowser::M2MClientBrowser(const M2MClientBrowser* other) : M2MClientBrowser() {
    if (other == nullptr) return;
    copyAllAttributes(other);
    ipAddress_ = other->ipAddress_;
    name_ = other->name_;
    token_ = other->token_;
    setUser(other->getUser());
    userRelationID_ = other->userRelationID_;
}

int M2MClientBrowser::insertOnDB() {
    if (getID() >= 0) {
        error(
            "m2mclientbrowser->insertOnDB error: this object is already present on DB (its ID is <%ld>), you may want "
            "to "
            "use updateOnDB()?",
            getID());
        return result::missing;
    }
    const auto answer = libenvdb::query(
        "INSERT INTO KOVAD_OBJECT ( NAME, MSP, TYPE, OPTIONALP, PHPCLASS, IS_REMOTABLE ) "
        "VALUES ( " +
            quoted(name_) + ", " + quoted(ipAddress_) + ", " + quoted(browserType) + ", " + quoted(getOptional()) +
            ", " + quoted(browserPhpClass) + ", '1' ); SELECT last_insert_rowid() AS ID;\n",
        {"m2mclientbrowser->insertOnDB", "\n"});
    if (!answer) return result::dbRequestFailed;
    const auto* row = libenvdb::first_row(*answer);
    if (row == nullptr) {
        error("m2mclientbrowser->insertOnDB error retrieving the ID of the last object inserted");
        return result::missing;
    }
    if (!libenvdb::has_value(*row, "ID")) {
        error("m2mclientbrowser->insertOnDB error retrieving the ID of the last object inserted from the SQL result");
        return result::nothingDone;
    }
    setID(libenvdb::number_in(*row, "ID"));
    return result::ok;
}

int M2MClientBrowser::updateOnDB() {
    if (getID() < 0) {
        error("m2mclientbrowser->updateOnDB error: cannot update the object, the ID <%ld> is not valid ", getID());
        return result::missing;
    }
    const auto answer = libenvdb::query("UPDATE KOVAD_OBJECT SET NAME=" + quoted(name_) + ",MSP=" + quoted(ipAddress_) +
                                            ",OPTIONALP=" + quoted(getOptional()) +
                                            ", IS_REMOTABLE='1' WHERE ID=" + quoted(getID()) + ";\n",
                                        {"m2mclientbrowser->updateOnDB", "\n"});
    return answer ? result::ok : result::dbRequestFailed;
}

int M2MClientBrowser::insertOrUpdateOnDB() {
    return getID() < 0 ? insertOnDB() : updateOnDB();
}

int M2MClientBrowser::deleteFromDB() {
    if (getID() < 0) {
        error("m2mclientbrowser->deleteFromDB error: cannot delete the object, the ID <%ld> is not valid ", getID());
        return result::missing;
    }
    // Its failures are reported with the texts of updateOnDB.
    const auto answer = libenvdb::query("DELETE FROM KOVAD_OBJECT WHERE ID=" + quoted(getID()) + ";\n",
                                        {"m2mclientbrowser->updateOnDB", "\n"});
    return answer ? result::ok : result::dbRequestFailed;
}

int M2MClientBrowser::readFromDB(long id) {
    const auto answer = libenvdb::query(
        "SELECT O.ID AS ID, O.MSP AS IPADDRESS, O.OPTIONALP AS OPTIONALS FROM KOVAD_OBJECT AS O WHERE O.ID=" +
            quoted(id) + " AND O.TYPE=" + quoted(browserType) + ";\n",
        "m2mclientbrowser->readFromDB");
    if (!answer) return result::dbRequestFailed;
    const auto* row = libenvdb::first_row(*answer);
    if (row == nullptr) {
        error("m2mclientbrowser->readFromDB error retrieving information from DB");
        return result::missing;
    }
    if (!libenvdb::has_value(*row, "ID")) {
        error("m2mclientbrowser->readFromDB error retrieving information of the sql result");
        return result::nothingDone;
    }
    setID(libenvdb::number_in(*row, "ID"));
    setIPAddress(libenvdb::text_in(*row, "IPADDRESS"));
    setOptional(libenvdb::text_in(*row, "OPTIONALS"));
    searchRelationWithUserOnDB(true);
    return result::ok;
}

// Runs a statement that counts matching rows and names one of them. The ID is taken over only for a record that can be
// used: a row of another kind with the same address must not be written to later.
bool M2MClientBrowser::takeSearchResult(const std::string& statement, const char* operation, const char* noIdText,
                                        bool load) {
    const auto answer = libenvdb::query(statement, operation);
    const auto* row = answer ? libenvdb::first_row(*answer) : nullptr;
    if (row == nullptr || libenvdb::number_in(*row, "RECCOUNT") <= 0) return false;
    const std::string id = libenvdb::text_in(*row, "ID");
    if (id.empty()) {
        if (noIdText != nullptr) error("%s", noIdText);
        return false;
    }
    if (load) return readFromDB(to_number(id)) == result::ok;
    setID(to_number(id));
    return true;
}

bool M2MClientBrowser::searchOnDBByNeighbourID(bool load, long neighbourid) {
    if (neighbourid < 0) {
        error("m2mclientbrowser->searchOnDBByNeighbourID neighbour ID <%ld> is invalid!", neighbourid);
        return false;
    }
    return takeSearchResult(
        "SELECT COUNT(*) AS RECCOUNT, O.ID AS ID FROM KOVAD_OBJECT AS O WHERE O.OPTIONALP LIKE '%%" +
            std::string(neighbourIdOption) + "=" + std::to_string(neighbourid) + "%%' AND TYPE=" + quoted(browserType) +
            ";",
        "m2mclientbrowser->searchOnDBByNeighbourID", nullptr, load);
}

bool M2MClientBrowser::searchOnDBByIPAddress(bool load) {
    if (is_unset(ipAddress_)) {
        error("m2mclientbrowser->searchOnDBByIPAddress IP address not set!");
        return false;
    }
    return takeSearchResult("SELECT COUNT(*) AS RECCOUNT, O.ID AS ID FROM KOVAD_OBJECT AS O WHERE O.MSP=" +
                                quoted(ipAddress_) + " AND O.IS_REMOTABLE='1';",
                            "m2mclientbrowser->searchOnDBByIPAddress",
                            "m2mclientbrowser->searchOnDBByIPAddress error retrieving the object ID", load);
}
