#include "home/users.h"

#include "home/credential.h"

namespace lab {

namespace {

constexpr const char* user_by_name = "SELECT ID FROM KOVAD_OBJECT WHERE TYPE='USER' AND NAME=?";

}  // namespace

int list_users(Context& context) {
    return list(context, {"ID", "USER", "GROUPS"},
                "SELECT U.ID, U.NAME, COALESCE((SELECT GROUP_CONCAT(G.NAME, ' ') FROM KOVAD_OBJECT_RELATION AS R JOIN "
                "KOVAD_OBJECT AS G ON G.ID=R.PARENTOBJ_ID AND G.TYPE='USERGROUP' WHERE R.CHILDOBJ_ID=U.ID AND "
                "R.RELATION_WEB_TIPOLOGY='USERGROUP_RELATION'), '-') FROM KOVAD_OBJECT AS U WHERE U.TYPE='USER' "
                "ORDER BY U.ID");
}

int add_user(Context& context, const std::string& name, const std::string& password,
             const std::vector<std::string>& groups) {
    // The link puts names into its statements as they are.
    if (name.empty() || name.find_first_of("',\n") != std::string::npos)
        return complain("a user's name has no apostrophe, comma or line feed");
    if (!context.database.run(user_by_name, {name}).rows.empty())
        return complain("there is a user " + name + " already");
    std::vector<std::string> group_ids;
    for (const std::string& group : groups) {
        const std::string id = find_id(
            context, "SELECT ID FROM KOVAD_OBJECT WHERE TYPE='USERGROUP' AND (NAME=?1 OR ID=?1)", "user group", group);
        if (id.empty()) return 1;
        group_ids.push_back(id);
    }
    const QueryResult added =
        context.database.run("INSERT INTO KOVAD_OBJECT (NAME, TYPE, PHPCLASS, MSP) VALUES (?, 'USER', 'kovaUser', ?)",
                             {name, credential_of(password)});
    if (!added.ok()) return complain(added.error);
    const std::string id = std::to_string(added.last_insert_id);
    for (const std::string& group_id : group_ids) {
        const QueryResult joined = context.database.run(
            "INSERT INTO KOVAD_OBJECT_RELATION (PARENTOBJ_ID, CHILDOBJ_ID, RELATION_WEB_TIPOLOGY) VALUES (?, ?, "
            "'USERGROUP_RELATION')",
            {group_id, id});
        if (!joined.ok()) return complain(joined.error);
    }
    return report(added, "user " + name + " added with ID " + id);
}

int remove_user(Context& context, const std::string& name) {
    const std::string id = find_id(context, user_by_name, "user", name);
    if (id.empty()) return 1;
    context.database.run("DELETE FROM KOVAD_OBJECT_RELATION WHERE PARENTOBJ_ID=?1 OR CHILDOBJ_ID=?1", {id});
    return report(context.database.run("DELETE FROM KOVAD_OBJECT WHERE ID=?", {id}), "user " + name + " removed");
}

int set_password(Context& context, const std::string& name, const std::string& password) {
    const std::string id = find_id(context, user_by_name, "user", name);
    if (id.empty()) return 1;
    return report(context.database.run("UPDATE KOVAD_OBJECT SET MSP=? WHERE ID=?", {credential_of(password), id}),
                  "password of " + name + " changed");
}

}  // namespace lab
