#include "model/m2mkovadobject.h"

#include <vector>

#include "cbase/jsontext.h"
#include "cbase/tokenize.h"

namespace {

struct Option {
    std::string key;
    std::string value;
};

// The well-formed entries of an options string, in order.
std::vector<Option> parse_options(const std::string& text) {
    std::vector<Option> options;
    if (is_unset(text)) return options;
    std::vector<std::string> entries;
    tokenize(text, entries, "|");
    for (const std::string& entry : entries) {
        std::vector<std::string> parts;
        tokenize(entry, parts, "=");
        if (parts.size() == 2) options.push_back({parts[0], parts[1]});
    }
    return options;
}

}  // namespace

void M2MKovadObject::copyAllAttributes(const M2MKovadObject* other) {
    if (other != nullptr) *this = *other;
}

std::string M2MKovadObject::getOption(const std::string& key) const {
    for (const Option& option : parse_options(optional_))
        if (option.key == key) return option.value;
    return {};
}

void M2MKovadObject::setOption(const std::string& key, const std::string& value) {
    std::string rewritten;
    bool found = false;
    const auto append = [&rewritten](const std::string& name, const std::string& text) {
        if (!rewritten.empty()) rewritten += "|";
        rewritten += name + "=" + text;
    };
    for (const Option& option : parse_options(optional_)) {
        const bool matches = option.key == key;
        append(option.key, matches ? value : option.value);
        found = found || matches;
    }
    if (!found) append(key, value);
    optional_ = rewritten;
}

json_t* M2MKovadObject::encodeJSON() const {
    constexpr const char* unit = "m2mkovadobject->encodeJSON";
    Json object(json_object());
    if (add_member(object.get(), "id", json_integer(id_), unit))
        add_member(object.get(), "type", json_text(type_), unit);
    return object.release();
}
