#include "home/neighbours.h"

#include "common/text.h"
#include "home/runners.h"

namespace lab {

namespace {

std::string neighbour_id(Context& context, const std::string& which) {
    return find_id(context, "SELECT ID FROM KOVAD_NEIGHBOUR WHERE ID=?1 OR HOST_UID=?1", "neighbour", which);
}

}  // namespace

int list_neighbours(Context& context) {
    return list(context, {"ID", "UID", "NAME", "ADDRESS", "STATUS", "ENABLED", "TLS", "LAST ACCESS (UTC)", "VERSION"},
                "SELECT ID, HOST_UID, HOST_NAME, HOST_IP_ADDRESS || ':' || HOST_PORT, HOST_STATUS, "
                "CASE ENABLE_FLAG WHEN 1 THEN 'yes' ELSE 'no' END, CASE USE_SSL WHEN 1 THEN 'yes' ELSE 'no' END, "
                "datetime(LAST_ACCESS, 'unixepoch'), SOFTWARE_VERSION FROM KOVAD_NEIGHBOUR ORDER BY ID");
}

int enable_neighbour(Context& context, const std::string& which, bool enable) {
    const std::string id = neighbour_id(context, which);
    if (id.empty()) return 1;
    return report(context.database.run("UPDATE KOVAD_NEIGHBOUR SET ENABLE_FLAG=? WHERE ID=?", {enable ? "1" : "0", id}),
                  "neighbour " + which + (enable ? " enabled" : " disabled"));
}

int remove_neighbour(Context& context, const std::string& which) {
    const std::string id = neighbour_id(context, which);
    if (id.empty()) return 1;
    const QueryResult records =
        context.database.run("SELECT ID, TYPE, OPTIONALP FROM KOVAD_OBJECT WHERE TYPE IN ('CSCMD', 'CLIENTBROWSER')");
    for (const Row& record : records.rows) {
        if (option_of(record[2], "neighbour_id") != id) continue;
        if (record[1] == "CSCMD") {
            remove_runner(context, record[0]);
        } else {
            context.database.run("DELETE FROM KOVAD_OBJECT_RELATION WHERE PARENTOBJ_ID=?1 OR CHILDOBJ_ID=?1",
                                 {record[0]});
            context.database.run("DELETE FROM KOVAD_OBJECT WHERE ID=?", {record[0]});
        }
    }
    return report(context.database.run("DELETE FROM KOVAD_NEIGHBOUR WHERE ID=?", {id}),
                  "neighbour " + which + " removed");
}

int switch_attach(Context& context, std::optional<bool> on) {
    if (on) {
        const QueryResult stored = context.database.run(
            "INSERT OR REPLACE INTO KOVA_M2M_CONFIGURATION (NAME, VALUE) VALUES ('KOVA_M2M_ATTACH_ENABLE_FLAG', ?)",
            {*on ? "1" : "0"});
        if (!stored.ok()) return complain(stored.error);
    }
    const QueryResult flag =
        context.database.run("SELECT VALUE FROM KOVA_M2M_CONFIGURATION WHERE NAME='KOVA_M2M_ATTACH_ENABLE_FLAG'");
    return report(flag, flag.value() == "1" ? "new neighbours may attach" : "new neighbours may not attach");
}

}  // namespace lab
