#include "m2m/datagrams/unregister.h"

#include "cbase/numbers.h"
#include "m2m/datagrams/datagramreader.h"

M2MUnregisterRequestDatagram::M2MUnregisterRequestDatagram(const std::string& json) : ObjectIdRequestDatagram(json) {
    const DatagramReader reader(json, "m2munregisterrequestdatagram->M2MUnregisterRequestDatagram( string )");
    if (!reader.load(JSON_DECODE_ANY, DatagramReader::LoadText::plain)) return;
    const json_t* ids = reader.member("object_ids");
    if (json_is_integer(ids)) setObjectIDList(to_32bit_range(json_integer_value(ids)));
    for (std::size_t i = 0; i < json_array_size(ids); ++i)
        setObjectIDList(to_32bit_range(json_integer_value(json_array_get(ids, i))));
}
