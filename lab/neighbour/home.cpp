#include "neighbour/home.h"

#include "common/text.h"
#include "neighbour/judge.h"

namespace neighbour {
namespace {

// Numbers of a range went through a float on their way: 0.1 arrives as 0.10000000149.
std::string short_number(const Json& value) {
    if (value.is_number()) return lab::short_fraction(value.get<double>());
    return printable(value.is_string() ? value.get<std::string>() : value.dump());
}

void read_allowed_values(const Json& allowed, HomeObject& object) {
    if (!allowed.is_object()) return;
    if (allowed.contains("min") && allowed.contains("max")) {
        object.range = short_number(allowed["min"]) + " to " + short_number(allowed["max"]);
        if (allowed.contains("step")) *object.range += ", step " + short_number(allowed["step"]);
    }
    const auto labels = allowed.find("allowed_values");
    if (labels == allowed.end() || !labels->is_array()) return;
    for (const Json& label : *labels)
        object.labels.emplace_back(any_member(label, "value"), any_member(label, "label"));
}

HomeObject read_object(const Json& json) {
    HomeObject object;
    object.id = integer_member(json, "id").value_or(-1);
    object.type = any_member(json, "type");
    object.name = any_member(json, "name");
    object.value = any_member(json, "current_value");
    object.category = any_member(json, "category");
    if (!json.is_object()) return object;
    if (const auto actions = json.find("allowed_actions"); actions != json.end() && actions->is_array()) {
        for (const Json& action : *actions)
            object.actions.push_back(action.is_string() ? action.get<std::string>() : action.dump());
    }
    if (const auto allowed = json.find("allowed_values"); allowed != json.end()) read_allowed_values(*allowed, object);
    if (const auto items = json.find("items"); items != json.end() && items->is_array()) {
        for (const Json& item : *items) object.items.push_back(read_object(item));
    }
    return object;
}

// The stroke before an object's name, and what its children continue with.
struct Branch {
    std::string first;
    std::string rest;
};

Branch branch_below(const std::string& prefix, bool last) {
    return last ? Branch{prefix + "└─ ", prefix + "   "} : Branch{prefix + "├─ ", prefix + "│  "};
}

std::string allowed_text(const HomeObject& object) {
    if (object.labels.empty()) return object.range.value_or("");
    std::vector<std::string> texts;
    texts.reserve(object.labels.size());
    for (const auto& [value, label] : object.labels) {
        texts.push_back(printable(value).append("=").append(printable(label)));
    }
    return joined(texts, " ");
}

class RowMaker {
  public:
    explicit RowMaker(const std::set<long long>& marked) : _marked(marked) {}

    void add(const std::vector<HomeObject>& objects) {
        for (const HomeObject& object : objects) add(object, "", "");
    }
    std::vector<Row> take() { return std::move(_rows); }

  private:
    void add(const HomeObject& object, const std::string& first, const std::string& rest) {
        _rows.push_back({first + printable(object.name) + (object.shownElsewhere ? " (shown above)" : ""),
                         std::to_string(object.id), printable(object.type),
                         printable(value_with_label(object)) + (_marked.contains(object.id) ? " *" : ""),
                         printable(joined(object.actions, " ")), allowed_text(object), printable(object.category)});
        const std::size_t children = object.items.size() + object.contents.size();
        std::size_t count = 0;
        for (const auto* const list : {&object.items, &object.contents}) {
            for (const HomeObject& child : *list) {
                const Branch branch = branch_below(rest, ++count == children);
                add(child, branch.first, branch.rest);
            }
        }
    }

    const std::set<long long>& _marked;
    std::vector<Row> _rows{{"NAME", "ID", "TYPE", "VALUE", "ACTIONS", "ALLOWED", "CATEGORY"}};
};

// Visits every object with its parts and contents, from the top of the tree.
template <typename Objects, typename Visit>
void walk(Objects& objects, const Visit& visit) {
    for (auto& object : objects) {
        visit(object);
        walk(object.items, visit);
        walk(object.contents, visit);
    }
}

void describe_objects(const std::vector<HomeObject>& news, const std::string& owner,
                      const std::vector<HomeObject>& home, std::vector<std::string>& lines) {
    for (HomeObject object : news) {
        walk(home, [&object](const HomeObject& known) {
            if (known.id == object.id) object.labels = known.labels;
        });
        const std::string name = owner + (owner.empty() ? "" : " / ") + object.name;
        // A complex object has no value of its own worth a line; its parts have.
        if (object.items.empty() || !object.value.empty()) {
            lines.push_back("object " + std::to_string(object.id) + " \"" + printable(name) + "\" is now " +
                            printable(value_with_label(object)));
        }
        describe_objects(object.items, name, home, lines);
    }
}

}  // namespace

std::vector<HomeObject> objects_of(const Json& datagram) {
    std::vector<HomeObject> objects;
    if (!datagram.is_object()) return objects;
    const auto list = datagram.find("objects");
    if (list == datagram.end() || !list->is_array()) return objects;
    for (const Json& entry : *list) objects.push_back(read_object(entry));
    return objects;
}

std::string value_with_label(const HomeObject& object) {
    for (const auto& [value, label] : object.labels) {
        if (value == object.value) return std::string(value).append(" (").append(label).append(")");
    }
    return object.value;
}

std::vector<Row> home_rows(const std::vector<HomeObject>& objects, const std::set<long long>& marked) {
    RowMaker maker(marked);
    maker.add(objects);
    return maker.take();
}

std::vector<long long> all_ids(const std::vector<HomeObject>& objects) {
    std::set<long long> seen;
    std::vector<long long> ids;
    walk(objects, [&](const HomeObject& object) {
        if (seen.insert(object.id).second) ids.push_back(object.id);
    });
    return ids;
}

std::set<long long> take_over_values(std::vector<HomeObject>& home, const std::vector<HomeObject>& news) {
    std::map<long long, std::string> values;
    walk(news, [&](const HomeObject& object) { values[object.id] = object.value; });
    std::set<long long> found;
    walk(home, [&](HomeObject& object) {
        if (const auto value = values.find(object.id); value != values.end()) {
            object.value = value->second;
            found.insert(object.id);
        }
    });
    return found;
}

std::vector<std::string> describe_notification(const std::string& bytes, const std::vector<HomeObject>& home) {
    const auto datagram = decode(bytes);
    const std::string function = datagram ? text_member(*datagram, "function") : "";
    if (function == "changestatus") {
        std::vector<std::string> lines;
        describe_objects(objects_of(*datagram), "", home, lines);
        if (lines.empty()) lines.emplace_back("a change status without values");
        return lines;
    }
    if (function == "expire") {
        return {"the controller has withdrawn the attachment, reason " + printable(any_member(*datagram, "reason"))};
    }
    return {"neither a change status nor an expiry: " + printable(bytes)};
}

}  // namespace neighbour
