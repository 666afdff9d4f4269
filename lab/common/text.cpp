#include "common/text.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

namespace lab {

namespace {

template <typename Number>
std::optional<Number> whole_as(std::string_view text) {
    Number value{};
    const char* end = text.data() + text.size();
    const auto [stop, problem] = std::from_chars(text.data(), end, value);
    if (problem != std::errc() || stop != end) return std::nullopt;
    return value;
}

}  // namespace

std::optional<long> to_number(std::string_view text) {
    return whole_as<long>(text);
}

std::optional<double> to_fraction(std::string_view text) {
    return whole_as<double>(text);
}

std::string zero_padded(long number, size_t width) {
    const std::string digits = std::to_string(number);
    return std::string(width - std::min(width, digits.size()), '0') + digits;
}

std::string short_fraction(double number) {
    std::array<char, 32> buffer{};
    const auto [stop, problem] =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, std::chars_format::general, 6);
    return problem == std::errc() ? std::string(buffer.data(), stop) : "0";
}

bool starts_character(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

bool equal_ignoring_case(std::string_view a, std::string_view b) {
    return a.size() == b.size() && (a.empty() || strncasecmp(a.data(), b.data(), a.size()) == 0);
}

std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        if (c == '\\' || c == '\n' || c == '\t') out += '\\';
        out += c == '\n' ? 'n' : c == '\t' ? 't' : c;
    }
    return out;
}

std::string unescaped(std::string_view text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            out += text[i];
            continue;
        }
        const char c = text[++i];
        unsigned code = 0;
        if (c == 'x' && i + 2 < text.size() &&
            std::from_chars(text.data() + i + 1, text.data() + i + 3, code, 16).ptr == text.data() + i + 3) {
            out += static_cast<char>(code);
            i += 2;
        } else {
            out += c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c == '0' ? '\0' : c;
        }
    }
    return out;
}

std::vector<std::string> split_words(std::string_view line) {
    std::vector<std::string> words;
    std::string word;
    bool started = false;
    bool quoted = false;
    for (size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (quoted && c == '\\' && i + 1 < line.size() && line[i + 1] == '"') {
            word += line[++i];
        } else if (c == '"') {
            quoted = !quoted;
            started = true;
        } else if (!quoted && (c == ' ' || c == '\t' || c == '\r')) {
            if (started) words.push_back(std::exchange(word, {}));
            started = false;
        } else {
            word += c;
            started = true;
        }
    }
    if (started) words.push_back(word);
    return words;
}

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    size_t begin = 0;
    while (begin <= text.size()) {
        const size_t end = std::min(text.find(separator, begin), text.size());
        if (end > begin) pieces.emplace_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return pieces;
}

std::string file_text(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

std::string option_of(std::string_view options, std::string_view key) {
    for (const std::string& entry : split(options, '|')) {
        const auto parts = split(entry, '=');
        if (parts.size() == 2 && parts[0] == key) return parts[1];
    }
    return {};
}

}  // namespace lab
