#include "model/m2mobjectcategory.h"

#include <string_view>

#include "cbase/jsontext.h"
#include "cbase/logging.h"
#include "cbase/result.h"
#include "libenvdb/query.h"
#include "model/recordcache.h"

std::unique_ptr<M2MObjectCategory::Cache> M2MObjectCategory::cachedCategoryList = std::make_unique<Cache>();

M2MObjectCategory::M2MObjectCategory(long id) {
    readFromDB(id);
}

void M2MObjectCategory::copyAllAttributes(const M2MObjectCategory* other) {
    if (other != nullptr) *this = *other;
}

std::shared_ptr<M2MObjectCategory> M2MObjectCategory::getNewObjectCategory(long id) {
    return cached_or_read(cachedCategoryList.get(), id);
}

void M2MObjectCategory::deleteCache() {
    cachedCategoryList.reset();
}

int M2MObjectCategory::readFromDB(long id) {
    // The connection text names another unit, as it always did.
    const auto answer = libenvdb::query(
        "SELECT O.ID AS ID, O.TYPE AS TYPE, O.DESCRIPTION AS DESCRIPTION FROM "
        "KOVA_WEB_OBJECT_CATEGORY AS O WHERE O.ID=" +
            libenvdb::quoted(id) + ";",
        {"m2mclientbrowser->readFromDB", "m2mobjectcategory->readFromDB", ""});
    if (!answer) return result::dbRequestFailed;
    const auto* row = libenvdb::first_row(*answer);
    if (row == nullptr) {
        error("m2mobjectcategory->readFromDB error retrieving information from DB");
        return result::nothingDone;
    }
    if (!libenvdb::has_value(*row, "ID")) {
        error("m2mobjectcategory->readFromDB error retrieving information of the sql result");
        return result::nothingDone;
    }
    setID(libenvdb::number_in(*row, "ID"));
    setType(libenvdb::text_in(*row, "TYPE"));
    setDescription(libenvdb::text_in(*row, "DESCRIPTION"));
    if (cachedCategoryList) cachedCategoryList->emplace(id_, std::make_shared<M2MObjectCategory>(this));
    return result::ok;
}

void M2MObjectCategory::setDescription(std::string description) {
    constexpr std::string_view marker = "_KOVA_THEME_OBJECT_CATEGORY_";
    description_ = std::move(description);
    if (description_.find(marker) != std::string::npos) description_.erase(0, marker.size());
}

json_t* M2MObjectCategory::encodeJSON() const {
    return json_text(description_);
}
