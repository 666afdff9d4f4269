#include "model/m2musergroup.h"

#include "cbase/logging.h"
#include "cbase/result.h"
#include "libenvdb/query.h"

using libenvdb::quoted;

M2MUserGroup::M2MUserGroup(long id) {
    setID(id);
    readFromDB(id);
}

M2MUserGroup::M2MUserGroup(const M2MUserGroup* other) {
    if (other != nullptr) *this = *other;
}

int M2MUserGroup::readFromDB(long id) {
    const auto answer =
        libenvdb::query("SELECT O.ID AS ID, O.NAME AS NAME FROM KOVAD_OBJECT AS O WHERE O.ID=" + quoted(id) +
                            " AND O.TYPE='USERGROUP';\n",
                        "m2musergroup->readFromDB");
    if (!answer) return result::dbRequestFailed;
    const auto* row = libenvdb::first_row(*answer);
    if (row == nullptr) {
        error("m2musergroup->readFromDB error retrieving user group with ID <%ld>: user group not found", id);
        return result::missing;
    }
    if (!libenvdb::has_value(*row, "ID")) {
        error("m2musergroup->readFromDB error retrieving the ID of the user group from SQL result");
        return result::nothingDone;
    }
    setID(libenvdb::number_in(*row, "ID"));
    setName(libenvdb::text_in(*row, "NAME"));
    return result::ok;
}
