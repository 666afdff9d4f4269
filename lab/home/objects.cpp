#include "home/objects.h"

#include <iostream>

#include "common/table.h"
#include "home/coreclient.h"

namespace lab {

int list_objects(Context& context) {
    return list(
        context, {"ID", "OBJECT", "TYPE", "VALUE", "RANGE OR LABELS", "ACTIONS", "IN", "SEEN BY"},
        "SELECT O.ID, O.NAME, O.TYPE, O.CURRENT_VALUE, "
        "CASE WHEN N.ID IS NULL THEN '-' WHEN N.HAS_OPTIONS<>0 THEN N.OPTION_LABELS "
        "ELSE CAST(N.MIN_STATE AS INTEGER) || '..' || CAST(N.MAX_STATE AS INTEGER) || ' by ' || N.STEP_STATE END, "
        "COALESCE(NULLIF(T.ALLOWED_ACTIONS, ''), '-'), "
        "COALESCE((SELECT GROUP_CONCAT(P.NAME, ' / ') FROM KOVAD_OBJECT_RELATION AS R JOIN KOVAD_OBJECT AS P ON "
        "P.ID=R.PARENTOBJ_ID WHERE R.CHILDOBJ_ID=O.ID AND R.RELATION_WEB_TIPOLOGY='OBJECT_RELATION'), '-'), "
        "CASE WHEN O.IS_DISCOVERABLE=1 AND O.IS_VISIBLE=1 THEN CASE WHEN O.WITH_PERMISSION>0 THEN 'with permission' "
        "ELSE 'everyone' END ELSE 'nobody' END "
        "FROM KOVAD_OBJECT AS O LEFT JOIN KOVAD_RENDERING AS N ON N.ID=O.RENDERING_ID LEFT JOIN KOVAD_OBJECT_TYPES AS "
        "T ON T.TYPE=O.TYPE WHERE O.TYPE NOT IN ('USER','USERGROUP','CLIENTBROWSER','CSCMD') ORDER BY O.ID");
}

int act_on_object(Context& context, const std::string& id, const std::string& action, const std::string& value) {
    const std::string problem = run_on_element(context, id, action, value, "HOME");
    if (!problem.empty()) return complain(problem);
    const QueryResult now = context.database.run("SELECT CURRENT_VALUE FROM KOVAD_OBJECT WHERE ID=?", {id});
    return report(now, "object " + id + " is " + now.value());
}

int set_quietly(Context& context, const std::string& id, const std::string& value) {
    const QueryResult changed = context.database.run("UPDATE KOVAD_OBJECT SET CURRENT_VALUE=? WHERE ID=?", {value, id});
    if (changed.ok() && changed.changes == 0) return complain("there is no object " + id);
    return report(changed, "object " + id + " is " + value + " (nobody was told)");
}

int list_relations(Context& context) {
    return list(
        context, {"ID", "PARENT", "", "CHILD", "", "KIND", "ACTION", "VALUE", "ACCESS", "ENABLED", "OPTIONAL"},
        "SELECT R.ID, R.PARENTOBJ_ID, COALESCE(P.NAME, '?'), R.CHILDOBJ_ID, COALESCE(NULLIF(C.NAME, ''), "
        "LOWER(C.TYPE), '?'), R.RELATION_WEB_TIPOLOGY, R.ACTION, R.ACTION_VALUE, R.ACCESS_MODE, R.ENABLE_FLAG, "
        "R.OPTIONAL FROM KOVAD_OBJECT_RELATION AS R LEFT JOIN KOVAD_OBJECT AS P ON P.ID=R.PARENTOBJ_ID LEFT JOIN "
        "KOVAD_OBJECT AS C ON C.ID=R.CHILDOBJ_ID ORDER BY R.ID");
}

int run_sql(Context& context, const std::string& sql) {
    const QueryResult result = context.database.run(sql);
    if (result.has_rows) print_table(result.columns, result.rows);
    if (!result.ok()) return complain(result.error);
    if (!result.has_rows) std::cout << result.changes << " rows changed" << std::endl;
    return 0;
}

}  // namespace lab
