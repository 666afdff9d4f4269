#include "m2m/datagrams/objectidlist.h"

#include "cbase/jsontext.h"
#include "cbase/logging.h"

void ObjectIdList::encode(json_t* object, const char* unit) const {
    if (!ids_) return;
    Json array(json_array());
    for (const long id : *ids_)
        if (json_array_append_new(array.get(), json_integer(id)) != 0)
            error("%s error adding object id <%ld>", unit, id);
    add_member(object, "object_ids", array.release(), unit);
}
