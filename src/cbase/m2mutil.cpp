#include "cbase/m2mutil.h"

#include <cstring>
#include <string>

#include "cbase/cstylecode_sockets.h"
#include "cbase/logging.h"
#include "cbase/numbers.h"
#include "libenvdb/query.h"

using libenvdb::quoted;

int m2m_attachlisteningisenabled(const char* table, const char* flagname, const char* expectedvalue) {
    const auto answer =
        libenvdb::query(std::string("SELECT VALUE FROM ") + table + " WHERE NAME=" + quoted(flagname) + ";",
                        "M2Mutil->m2m_attachlisteningisenabled");
    if (!answer) return 0;
    const auto* row = libenvdb::first_row(*answer);
    if (row == nullptr) {
        error("M2Mutil->m2m_attachlisteningisenabled flag '%s' not found in %s table, default value = 0", flagname,
              table);
        return 0;
    }
    const char* value = row->value("VALUE");
    return value != nullptr && std::strcmp(value, expectedvalue) == 0 ? 1 : 0;
}

int m2m_neighbouralreadyexists(const char* ipaddress, long* id) {
    // The second text lacks its last letter; whoever watches the log knows it like that.
    const auto answer = libenvdb::query(
        "SELECT COUNT(*) AS RECCOUNT, NL.ID AS NEIGHBOUD_ID FROM KOVAD_NEIGHBOUR NL WHERE NL.HOST_IP_ADDRESS=" +
            quoted(ipaddress) + ";",
        {"M2Mutil->m2m_neighbouralreadyexists", "M2Mutil->m2m_neighbouralreadyexist", ""});
    if (!answer || answer->get_rows_num() < 1) return 0;
    const char* found = libenvdb::first_value_named(*answer, "NEIGHBOUD_ID");
    if (id != nullptr && found != nullptr) *id = to_number(found);
    return 1;
}

const char* m2m_get_defaultdiscoveryip() {
    return "239.192.39.238";
}

int m2m_get_defaultdiscoveryport() {
    return 45222;
}

int m2m_makesendingsearchsocket() {
    const int fd =
        make_localudpclient_socket_outgoing(m2m_get_defaultdiscoveryip(), m2m_get_defaultdiscoveryport(), 1, 0);
    if (fd >= 0) return fd;
    error("M2Mutil->m2m_makesendingsearchsocket error: cannot connect to M2M multicast address '%s', port %d",
          m2m_get_defaultdiscoveryip(), m2m_get_defaultdiscoveryport());
    return -1;
}

int m2m_getsearchdatagramtype(const unsigned char* data, int length) {
    constexpr int searchLength = 11;
    constexpr int answerLength = 26;
    if (length == searchLength && data[0] == 'z' && data[1] == 'U') return 0;
    if (length == answerLength && data[0] == '{' && data[1] == 'V') return 1;
    return 2;
}
