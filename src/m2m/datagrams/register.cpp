#include "m2m/datagrams/register.h"

#include "cbase/logging.h"
#include "cbase/numbers.h"
#include "m2m/datagrams/datagramreader.h"

M2MRegisterRequestDatagram::M2MRegisterRequestDatagram(const std::string& json) : ObjectIdRequestDatagram(json) {
    constexpr const char* unit = "m2mregisterrequestdatagram->M2MRegisterRequestDatagram( string )";
    constexpr const char* key = "object_ids";
    const DatagramReader reader(json, unit);
    if (!reader.load(JSON_DECODE_ANY, DatagramReader::LoadText::plain)) return;
    const json_t* ids = reader.member(key);
    if (json_is_integer(ids)) {
        setObjectIDList(to_32bit_range(json_integer_value(ids)));
    } else if (json_is_array(ids)) {
        for (std::size_t i = 0; i < json_array_size(ids); ++i) {
            const json_t* id = json_array_get(ids, i);
            if (json_is_integer(id)) {
                setObjectIDList(to_32bit_range(json_integer_value(id)));
            } else {
                error("%s tag <%s>: one of elements is not an integer value!", unit, key);
            }
        }
    } else {
        error("%s tag <%s> is not an array nor an integer value!", unit, key);
    }
}
