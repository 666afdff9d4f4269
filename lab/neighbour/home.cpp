#include "home.h"

#include <cstdio>

#include "judge.h"

namespace neighbour {
namespace {

// Numbers of a range went through a float on their way: 0.1 arrives as 0.10000000149.
std::string short_number(const Json& value) {
    if (!value.is_number()) return printable(value.is_string() ? value.get<std::string>() : value.dump());
    std::string text(32, '\0');
    const int size = std::snprintf(text.data(), text.size(), "%g", value.get<double>());
    text.resize(static_cast<std::size_t>(std::max(size, 0)));
    return text;
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
    RowMaker(bool all_columns, const std::set<long long>& marked) : _allColumns(all_columns), _marked(marked) {
        _rows.push_back(all_columns ? Row{"NAME", "ID", "TYPE", "VALUE", "ACTIONS", "ALLOWED", "CATEGORY"}
                                    : Row{"NAME", "ID", "TYPE", "VALUE"});
    }

    void add(const std::vector<HomeObject>& objects) {
        for (const HomeObject& object : objects) add(object, "", "");
    }
    std::vector<Row> take() { return std::move(_rows); }

  private:
    void add(const HomeObject& object, const std::string& first, const std::string& rest) {
        Row row{first + printable(object.name), std::to_string(object.id), printable(object.type),
                printable(value_with_label(object))};
        if (_allColumns) {
            if (_marked.contains(object.id)) row.back() += " *";
            row.push_back(printable(joined(object.actions, " ")));
            row.push_back(allowed_text(object));
            row.push_back(printable(object.category));
        }
        if (object.shownElsewhere) row.front() += " (shown above)";
        _rows.push_back(std::move(row));
        const std::size_t children = object.items.size() + object.contents.size();
        std::size_t count = 0;
        for (const auto* const list : {&object.items, &object.contents}) {
            for (const HomeObject& child : *list) {
                const Branch branch = branch_below(rest, ++count == children);
                add(child, branch.first, branch.rest);
            }
        }
    }

    bool _allColumns;
    const std::set<long long>& _marked;
    std::vector<Row> _rows;
};

void collect_ids(const std::vector<HomeObject>& objects, std::set<long long>& seen, std::vector<long long>& ids) {
    for (const HomeObject& object : objects) {
        if (seen.insert(object.id).second) ids.push_back(object.id);
        collect_ids(object.items, seen, ids);
        collect_ids(object.contents, seen, ids);
    }
}

void collect_values(const std::vector<HomeObject>& objects, std::map<long long, std::string>& values) {
    for (const HomeObject& object : objects) {
        values[object.id] = object.value;
        collect_values(object.items, values);
    }
}

void set_values(std::vector<HomeObject>& home, const std::map<long long, std::string>& values,
                std::set<long long>& found) {
    for (HomeObject& object : home) {
        if (const auto news = values.find(object.id); news != values.end()) {
            object.value = news->second;
            found.insert(object.id);
        }
        set_values(object.items, values, found);
        set_values(object.contents, values, found);
    }
}

const HomeObject* find_object(const std::vector<HomeObject>& home, long long id) {
    for (const HomeObject& object : home) {
        if (object.id == id) return &object;
        for (const auto* const list : {&object.items, &object.contents}) {
            if (const HomeObject* const found = find_object(*list, id)) return found;
        }
    }
    return nullptr;
}

void describe_objects(const std::vector<HomeObject>& news, const std::string& owner,
                      const std::vector<HomeObject>& home, std::vector<std::string>& lines) {
    for (HomeObject object : news) {
        if (const HomeObject* const known = find_object(home, object.id)) object.labels = known->labels;
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
    RowMaker maker(true, marked);
    maker.add(objects);
    return maker.take();
}

std::vector<Row> status_rows(const std::vector<HomeObject>& objects) {
    const std::set<long long> none;
    RowMaker maker(false, none);
    maker.add(objects);
    return maker.take();
}

std::vector<long long> all_ids(const std::vector<HomeObject>& objects) {
    std::set<long long> seen;
    std::vector<long long> ids;
    collect_ids(objects, seen, ids);
    return ids;
}

std::set<long long> take_over_values(std::vector<HomeObject>& home, const std::vector<HomeObject>& news) {
    std::map<long long, std::string> values;
    collect_values(news, values);
    std::set<long long> found;
    set_values(home, values, found);
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
