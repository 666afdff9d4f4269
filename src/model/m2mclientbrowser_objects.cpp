// What a neighbour sees of the home and does in it.

#include "cbase/logging.h"
#include "cbase/result.h"
#include "libenvdb/query.h"
#include "model/m2mclientbrowser.h"

using libenvdb::quoted;

std::unique_ptr<M2MRemotableObject::List> M2MClientBrowser::searchRemotableObjectsInContext(long contextid) const {
    const std::string place =
        contextid >= 0 ? " AND O.ID IN ( SELECT R.CHILDOBJ_ID FROM KOVAD_OBJECT_RELATION AS R WHERE PARENTOBJ_ID=" +
                             quoted(contextid) + ") "
                       : " AND O.TYPE='GROUP' ";
    const auto answer = libenvdb::query(
        "SELECT O.ID AS OBJECT_ID, O.WITH_PERMISSION AS WITH_PERMISSION FROM KOVAD_OBJECT AS "
        "O WHERE O.IS_VISIBLE='1' AND O.IS_DISCOVERABLE='1' " +
            place + " ;\n",
        "m2mclientbrowser->searchRemotableObjectsInContext");
    if (!answer) return nullptr;
    if (answer->rows.empty()) {
        error("m2mclientbrowser->searchRemotableObjectsInContext error retrieving the ID of the last object inserted");
        return nullptr;
    }
    auto objects = std::make_unique<M2MRemotableObject::List>();
    for (const auto& [index, row] : answer->rows) {
        debug("m2mclientbrowser->searchRemotableObjectsInContext Valori riga: <%s>, <%s>\n",
              libenvdb::text_in(row, "OBJECT_ID").c_str(), libenvdb::text_in(row, "WITH_PERMISSION").c_str());
        const long objectid = libenvdb::number_in(row, "OBJECT_ID");
        const bool restricted = libenvdb::number_in(row, "WITH_PERMISSION") > 0;
        if (restricted && (!user_ || !user_->checkPermissionForObjectID(objectid))) {
            error("m2mclientbrower->searchRemotableObjectsInContext user is not allowed to see object with ID <%ld>",
                  objectid);
            continue;
        }
        if (auto object = M2MRemotableObject::getNewRemotableObject(objectid, true))
            objects->push_back(std::move(object));
    }
    return objects;
}

int M2MClientBrowser::performAction(long objectid, const std::string& tag, const std::string& action,
                                    const std::string& value) const {
    if (getID() < 0) {
        error(
            "m2mclientbrowser->performAction() error: client browser ID <%ld> on database not valid! You forgot to "
            "insert "
            "the object into DB or to read it from DB?",
            getID());
        return result::missing;
    }
    if (token_.empty()) {
        error(
            "m2mclientbrowser->performAction() error: token is empty or not valid. Try to perform an ATTACH operation "
            "before the DO-ACTION.");
        return result::refused;
    }
    const auto object = M2MRemotableObject::getNewRemotableObject(objectid);
    if (!object) return result::nothingDone;
    // The marks are in memory: after a restart the stored relation tells that the neighbour has registered.
    if (!object->isRegistered() && searchRelationWithRemotableObjectOnDB(objectid)) object->registerObject();
    return object->performAction(action, value, tag, token_, ipAddress_);
}
