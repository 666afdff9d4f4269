#include "fsmcore/objects.h"

#include <algorithm>

#include "common/corestatus.h"
#include "common/text.h"
#include "fsmcore/action.h"

namespace lab {

namespace {

bool allows(const std::string& allowed_actions, const std::string& action) {
    const auto words = split(allowed_actions, '|');
    return std::any_of(words.begin(), words.end(),
                       [&](const std::string& word) { return equal_ignoring_case(word, action); });
}

ActionOutcome refusal(long status) {
    ActionOutcome outcome;
    outcome.status = status;
    return outcome;
}

ValueRange range_of(Database& database, const std::string& rendering_id) {
    ValueRange range;
    const QueryResult found = database.run(
        "SELECT HAS_OPTIONS, MIN_STATE, MAX_STATE, STEP_STATE, OPTION_LABELS FROM KOVAD_RENDERING WHERE ID=?",
        {rendering_id});
    if (found.rows.empty()) return range;
    const Row& row = found.rows[0];
    if (to_number(row[0]).value_or(0) != 0) range.allowed = label_values(row[4]);
    const auto min = to_fraction(row[1]);
    const auto max = to_fraction(row[2]);
    range.ranged = range.allowed.empty() && min && max;
    if (range.ranged) {
        range.min = *min;
        range.max = *max;
        range.step = to_fraction(row[3]).value_or(0);
    }
    return range;
}

}  // namespace

bool Objects::check_login(const std::string& username, const std::string& credential) {
    const QueryResult stored = database_.run("SELECT MSP FROM KOVAD_OBJECT WHERE TYPE='USER' AND NAME=?", {username});
    return !credential.empty() && stored.rows.size() == 1 && stored.value() == credential;
}

size_t Objects::count_logins() {
    return database_
        .run(
            "SELECT ID FROM KOVAD_OBJECT_RELATION WHERE RELATION_WEB_TIPOLOGY='USER_RELATION' AND "
            "ACTION='ISLOGGEDAS' AND ACTION_VALUE<>''")
        .rows.size();
}

ActionOutcome Objects::perform(long object_id, const std::string& action, const std::string& value,
                               bool check_allowed) {
    const std::string id = std::to_string(object_id);
    const QueryResult found = database_.run(
        "SELECT O.CURRENT_VALUE, O.RENDERING_ID, T.ALLOWED_ACTIONS FROM KOVAD_OBJECT AS O LEFT JOIN "
        "KOVAD_OBJECT_TYPES AS T ON T.TYPE=O.TYPE WHERE O.ID=? AND O.TYPE NOT IN "
        "('USER','USERGROUP','CLIENTBROWSER','CSCMD')",
        {id});
    if (!found.ok()) return refusal(core_status::database_failed);
    if (found.rows.empty()) return refusal(core_status::unknown_object);
    const Row& row = found.rows[0];
    if (!is_known_action(action)) return refusal(core_status::unknown_action);
    if (check_allowed && !allows(row[2], action)) return refusal(core_status::action_not_allowed);
    ActionOutcome outcome;
    outcome.status = apply_action(range_of(database_, row[1]), row[0], action, value, outcome.value);
    if (outcome.status == core_status::done && outcome.value != row[0]) {
        outcome.changed = database_.run("UPDATE KOVAD_OBJECT SET CURRENT_VALUE=? WHERE ID=?", {outcome.value, id}).ok();
        outcome.status = outcome.changed ? core_status::done : core_status::database_failed;
    }
    return outcome;
}

std::vector<Follower> Objects::followers(long object_id) {
    const QueryResult relations = database_.run(
        "SELECT DISTINCT R.PARENTOBJ_ID, R.CHILDOBJ_ID, B.OPTIONALP FROM KOVAD_OBJECT_RELATION AS R JOIN KOVAD_OBJECT "
        "AS B ON B.ID=R.CHILDOBJ_ID AND B.TYPE='CLIENTBROWSER' WHERE "
        "R.RELATION_WEB_TIPOLOGY='REMOTABLE_LOGIC_IMPLICIT_RELATION' AND R.ACTION='M2M_CHANGESTATUS' AND "
        "R.ENABLE_FLAG=1 AND (R.PARENTOBJ_ID=?1 OR R.PARENTOBJ_ID IN (SELECT PARENTOBJ_ID FROM KOVAD_OBJECT_RELATION "
        "WHERE CHILDOBJ_ID=?1 AND OPTIONAL LIKE '%tag_complex_element%')) ORDER BY R.ID",
        {std::to_string(object_id)});
    std::vector<Follower> followers;
    if (relations.rows.empty()) return followers;
    const QueryResult runners = database_.run("SELECT ID, OPTIONALP, MIN_VALUE FROM KOVAD_OBJECT WHERE TYPE='CSCMD'");
    for (const Row& relation : relations.rows) {
        const std::string neighbour = option_of(relation[2], "neighbour_id");
        for (const Row& runner : runners.rows) {
            const long port = to_number(runner[2]).value_or(-1);
            if (!neighbour.empty() && option_of(runner[1], "neighbour_id") == neighbour && port > 0 && port <= 65535) {
                followers.push_back({to_number(relation[0]).value_or(-1), to_number(relation[1]).value_or(-1),
                                     to_number(runner[0]).value_or(-1), static_cast<uint16_t>(port)});
            }
        }
    }
    return followers;
}

}  // namespace lab
