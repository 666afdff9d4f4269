#include "cbase/jsontext.h"

#include "cbase/logging.h"
#include "cbase/memory.h"

bool add_member(json_t* object, const char* key, json_t* value, const char* unit) {
    if (json_object_set_new(object, key, value) == 0) return true;
    error("%s error adding tag <%s>", unit, key);
    return false;
}

json_t* json_text(const std::string& text) {
    return json_string(text.c_str());
}

std::string dump(const json_t* value) {
    const XText text(value == nullptr ? nullptr
                                      : json_dumps(value, JSON_COMPACT | JSON_PRESERVE_ORDER | JSON_ENCODE_ANY));
    return text ? std::string(text.get()) : std::string();
}
