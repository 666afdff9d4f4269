#include "m2m/datagrams/passwordmask.h"

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "cbase/jsontext.h"

namespace {

constexpr std::string_view memberName = "password";
constexpr std::string_view replacement = "<NOT PRINTED>";
constexpr const char* blanks = " \t\r\n";

std::size_t skip_blanks(std::string_view text, std::size_t at) {
    return std::min(text.find_first_not_of(blanks, at), text.size());
}

// End of the string token that begins at `at` with a quote: behind its closing quote, or the end of the text.
std::size_t string_end(std::string_view text, std::size_t at) {
    for (std::size_t i = at + 1; i < text.size(); ++i) {
        if (text[i] == '\\') {
            ++i;
        } else if (text[i] == text[at]) {
            return i + 1;
        }
    }
    return text.size();
}

// End of the value that begins at `at`: a string, a number or word, or everything between brackets.
std::size_t value_end(std::string_view text, std::size_t at) {
    int depth = 0;
    for (std::size_t i = at; i < text.size();) {
        const char c = text[i];
        if (c == '"') {
            i = string_end(text, i);
        } else if (c == '{' || c == '[') {
            ++depth;
            ++i;
        } else if (c == '}' || c == ']') {
            if (depth == 0) return i;
            --depth;
            ++i;
        } else if (depth == 0 && (c == ',' || std::strchr(blanks, c) != nullptr)) {
            return i;
        } else {
            ++i;
            continue;
        }
        if (depth == 0) return i;
    }
    return text.size();
}

// Whether a string token, quotes included, says "password", escapes resolved.
bool names_password(std::string_view token) {
    if (token == "\"password\"") return true;
    if (token.find('\\') == std::string_view::npos) return false;
    const Json name(json_loadb(token.data(), token.size(), JSON_DECODE_ANY, nullptr));
    return name && json_is_string(name.get()) && memberName == json_string_value(name.get());
}

// Appends the masked form of the value at `from` and returns where it ends.
std::size_t append_masked(std::string& out, std::string_view text, std::size_t from, std::size_t end) {
    const char quote = text[from];
    const bool quoted = quote == '"' || quote == '\'';
    const bool closed = quoted && end - from >= 2 && text[end - 1] == quote;
    if (quoted) out += quote;
    out += replacement;
    if (closed) out += quote;
    return end;
}

std::string mask_json(std::string_view text) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] != '"') {
            out += text[at++];
            continue;
        }
        const std::size_t end = string_end(text, at);
        const std::string_view token = text.substr(at, end - at);
        const std::size_t colon = skip_blanks(text, end);
        const bool member = colon < text.size() && text[colon] == ':';
        out += token;
        at = end;
        if (!member || !names_password(token)) continue;
        const std::size_t value = skip_blanks(text, colon + 1);
        out += text.substr(end, value - end);
        at = append_masked(out, text, value, value_end(text, value));
    }
    return out;
}

// Where the word occurs next, in whatever case; npos when it does not.
std::size_t find_word(std::string_view text, std::size_t from) {
    for (std::size_t at = text.find_first_of("pP", from); at != std::string_view::npos;
         at = text.find_first_of("pP", at + 1))
        if (text.size() - at >= memberName.size() &&
            strncasecmp(text.data() + at, memberName.data(), memberName.size()) == 0)
            return at;
    return std::string_view::npos;
}

// Where the next name "password" ends: the plain word in whatever case, or a string that says so with escapes.
std::size_t find_name_end(std::string_view text, std::size_t from) {
    const std::size_t word = find_word(text, from);
    std::size_t escape = text.find("\\u", from);
    while (escape < word) {
        const std::size_t open = text.rfind('"', escape);
        const bool inString = open != std::string_view::npos && open >= from;
        const std::size_t close = inString ? string_end(text, open) : std::string_view::npos;
        if (inString && names_password(text.substr(open, close - open))) return close;
        escape = text.find("\\u", escape + 1);
    }
    return word == std::string_view::npos ? word : word + memberName.size();
}

// End of a value in a text that is no JSON.
std::size_t loose_value_end(std::string_view text, std::size_t at) {
    if (text[at] == '"' || text[at] == '\'') return string_end(text, at);
    if (text[at] == '[' || text[at] == '{') return value_end(text, at);
    return std::min(text.find_first_of(",}&;\r\n", at), text.size());
}

std::string mask_other(std::string_view text) {
    std::string out;
    std::size_t at = 0;
    for (std::size_t next = find_name_end(text, 0); next != std::string_view::npos; next = find_name_end(text, at)) {
        out += text.substr(at, next - at);
        at = next;
        // The name's closing quote, escaped or not, and blanks; then a colon or equals sign, or at least a quoted
        // value.
        next = std::min(text.find_first_not_of("\"'\\", next), text.size());
        next = skip_blanks(text, next);
        const bool separated = next < text.size() && (text[next] == ':' || text[next] == '=');
        if (separated) next = std::min(text.find_first_not_of(" \t\r\n\\", next + 1), text.size());
        if (next >= text.size() || (!separated && text[next] != '"' && text[next] != '\'')) continue;
        out += text.substr(at, next - at);
        at = append_masked(out, text, next, loose_value_end(text, next));
    }
    return out + std::string(text.substr(at));
}

// Most texts hold none, which is seen without parsing them.
bool may_hold_password(const std::string& text) {
    return find_word(text, 0) != std::string::npos || text.find("\\u") != std::string::npos;
}

}  // namespace

std::string mask_passwords(const std::string& text) {
    if (!may_hold_password(text)) return text;
    const Json parsed(json_loads(text.c_str(), JSON_DECODE_ANY, nullptr));
    return parsed ? mask_json(text) : mask_other(text);
}
