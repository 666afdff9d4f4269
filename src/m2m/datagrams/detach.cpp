#include "m2m/datagrams/detach.h"

#include "cbase/jsontext.h"
#include "m2m/datagrams/datagramreader.h"

M2MDetachRequestDatagram::M2MDetachRequestDatagram(const M2MDetachRequestDatagram* other) {
    if (other != nullptr) *this = *other;
}

M2MDetachRequestDatagram::M2MDetachRequestDatagram(const std::string& json) : M2MRequestDatagram(json) {
    const DatagramReader reader(json, "m2mdetachrequestdatagram->M2MDetachRequestDatagram( string )");
    if (!reader.load(JSON_DECODE_ANY, DatagramReader::LoadText::plain)) return;
    int flag = 0;
    if (reader.readNumber("clearneighbour", flag)) clearAll_ = flag != 0;
}

json_t* M2MDetachRequestDatagram::encodeJSON() const {
    Json object(M2MRequestDatagram::encodeJSON());
    if (object)
        add_member(object.get(), "clearneighbour", json_integer(clearAll_ ? 1 : 0),
                   "m2mdetachrequestdatagram->encodeJSON");
    return object.release();
}
