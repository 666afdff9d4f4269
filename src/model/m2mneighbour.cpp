#include "model/m2mneighbour.h"

#include <strings.h>

#include "cbase/logging.h"
#include "cbase/numbers.h"
#include "cbase/result.h"
#include "libenvdb/query.h"
#include "model/m2mkovadobject.h"

using libenvdb::quoted;

M2MNeighbour::M2MNeighbour() : uid_(noValue) {}

M2MNeighbour::M2MNeighbour(long id) : id_(id), uid_(noValue) {
    fillFromDB();
}

M2MNeighbour::M2MNeighbour(const std::string& uid) : uid_(uid) {
    fillFromDB();
}

M2MNeighbour::M2MNeighbour(const M2MNeighbour* other) : M2MNeighbour() {
    if (other != nullptr) *this = *other;
}

void M2MNeighbour::setField(const std::string& column, const char* value) {
    const auto is = [&column](const char* name) { return strcasecmp(column.c_str(), name) == 0; };
    if (is("ID")) {
        if (*value != '\0') id_ = to_number(value);  // a row without an ID is not row 0
    } else if (is("PRODUCTOR_TAG_ID")) {
        productorTag_ = value;
    } else if (is("SOFTWARE_VERSION")) {
        softwareVersion_ = value;
    } else if (is("HOST_IP_ADDRESS")) {
        ipAddress_ = value;
    } else if (is("HOST_PORT")) {
        port_ = static_cast<int>(to_number(value));
    } else if (is("HOST_STATUS")) {
        status_ = value;
    } else if (is("HOST_UID")) {
        uid_ = value;
    } else if (is("HOST_NAME")) {
        name_ = value;
    } else if (is("ENABLE_FLAG")) {
        enableFlag_ = to_number(value) != 0;
    } else if (is("LAST_ACCESS")) {
        lastAccess_ = static_cast<int>(to_number(value));
    } else if (is("USE_SSL")) {
        useSSL_ = to_number(value) != 0;
    }
    // HOST_OPTIONALS is written and never read: the optionals keep what this process gave them.
}

int M2MNeighbour::fillFromDB() {
    const bool uidKnown = !is_unset(uid_);
    if (!uidKnown && id_ < 0) {
        error("m2mneighbour->fillFromDB neither neighboud UID nor ID are set!");
        return result::missing;
    }
    const std::string condition = uidKnown ? "NL.HOST_UID=" + quoted(uid_) : "NL.ID=" + quoted(id_);
    const auto answer =
        libenvdb::query("SELECT NL.* FROM KOVAD_NEIGHBOUR NL WHERE " + condition + ";", "m2mneighbour->fillFromDB");
    if (!answer) return result::dbRequestFailed;
    if (answer->rows.empty()) return result::missing;
    // Columns are those of the table, in whatever case it names them.
    for (const auto& [index, row] : answer->rows)
        for (const auto& item : row) setField(item.second, item.first);
    return result::ok;
}

int M2MNeighbour::insertOnDB() {
    verbose_debug("m2mneighbour->insertOnDB Inserting Kovaline NEIGHBOUR System: Host '%s', Port %d, Status %s",
                  ipAddress_.c_str(), port_, status_.c_str());
    const auto answer = libenvdb::query(
        "INSERT INTO KOVAD_NEIGHBOUR ( PRODUCTOR_TAG_ID, SOFTWARE_VERSION, HOST_IP_ADDRESS, HOST_PORT, HOST_STATUS, "
        "HOST_UID, HOST_NAME, HOST_OPTIONALS, ENABLE_FLAG, LAST_ACCESS, USE_SSL ) VALUES ( " +
            quoted(productorTag_) + ", " + quoted(softwareVersion_) + ", " + quoted(ipAddress_) + ", " + quoted(port_) +
            ", " + quoted(status_) + ", " + quoted(uid_) + ", " + quoted(name_) + ", " + quoted(optionals_) +
            ", '0', " + quoted(lastAccess_) + ", " + quoted(useSSL_ ? 1 : 0) +
            " ); SELECT last_insert_rowid() AS ID;\n",
        {"m2mneighbour->insertOnDB", "\n"});
    if (!answer) return result::dbRequestFailed;
    const char* id = libenvdb::first_value_named(*answer, "ID");
    if (id != nullptr && *id != '\0') id_ = to_number(id);
    return result::ok;
}

int M2MNeighbour::updateOnDB() {
    verbose_debug("velklib Updating Kovaline NEIGHBOUR System: Host '%s', Port %d, Status %s", ipAddress_.c_str(),
                  port_, status_.c_str());
    const auto answer = libenvdb::query(
        "UPDATE KOVAD_NEIGHBOUR SET  PRODUCTOR_TAG_ID=" + quoted(productorTag_) +
            ",  SOFTWARE_VERSION=" + quoted(softwareVersion_) + ",  HOST_IP_ADDRESS=" + quoted(ipAddress_) +
            ",  HOST_PORT=" + quoted(port_) + ",  HOST_STATUS=" + quoted(status_) + ",  HOST_NAME=" + quoted(name_) +
            ",  HOST_OPTIONALS=" + quoted(optionals_) + ",  ENABLE_FLAG=" + quoted(enableFlag_ ? 1 : 0) +
            ",  LAST_ACCESS=" + quoted(lastAccess_) + ",  USE_SSL=" + quoted(useSSL_ ? 1 : 0) +
            "  WHERE ID=" + quoted(id_) + ";\n",
        "m2mneighbour->updateOnDB");
    return answer ? result::ok : result::dbRequestFailed;
}

int M2MNeighbour::insertOrUpdateOnDB() {
    if (alreadyPresendOnDB()) return updateOnDB();
    setEnableFlag(false);
    return insertOnDB();
}

int M2MNeighbour::deleteFromDB() {
    verbose_debug("velklib Deleting Kovaline NEIGHBOUR System: ID '%ld'", id_);
    const auto answer =
        libenvdb::query("DELETE FROM KOVAD_NEIGHBOUR WHERE ID=" + quoted(id_) + ";\n", "m2mneighbour->deleteFromDB");
    if (!answer) return result::dbRequestFailed;
    id_ = -1;
    return result::ok;
}

bool M2MNeighbour::alreadyPresendOnDB() {
    if (is_unset(uid_)) {
        error("m2mneighbour->alreadyPresentOnDB neighboud UID not set!");
        return false;
    }
    const auto answer = libenvdb::query(
        "SELECT COUNT(*) AS RECCOUNT, NL.ID AS NEIGHBOUD_ID FROM KOVAD_NEIGHBOUR NL WHERE NL.HOST_UID=" + quoted(uid_) +
            ";",
        "m2mneighbour->alreadyPresentOnDB");
    const auto* row = answer ? libenvdb::first_row(*answer) : nullptr;
    if (row == nullptr || libenvdb::number_in(*row, "RECCOUNT") <= 0) return false;
    const std::string id = libenvdb::text_in(*row, "NEIGHBOUD_ID");
    if (id.empty()) return false;
    id_ = to_number(id);
    return true;
}

bool M2MNeighbour::searchOnDBByIPAddress() {
    if (is_unset(ipAddress_)) {
        error("m2mneighbour->searchOnDBByIPAddress ipAddress not set!");
        return false;
    }
    const auto answer = libenvdb::query(
        "SELECT COUNT(*) AS RECCOUNT AS NEIGHBOUD_ID FROM KOVAD_NEIGHBOUR NL WHERE NL.HOST_IP_ADDRESS=" +
            quoted(ipAddress_) + ";",
        "m2mneighbour->searchOnDBByIPAddress");
    if (!answer || answer->rows.empty()) return false;
    if (const char* id = libenvdb::first_value_named(*answer, "NEIGHBOUD_ID")) id_ = to_number(id);
    return true;
}
