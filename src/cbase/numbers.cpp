#include "cbase/numbers.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>

long to_32bit_range(long long value) {
    return static_cast<long>(std::clamp<long long>(value, INT32_MIN, INT32_MAX));
}

long to_number(const char* text) {
    return text == nullptr ? 0 : to_32bit_range(std::strtoll(text, nullptr, 10));
}

long to_number(const std::string& text) {
    return to_number(text.c_str());
}

std::optional<long> parse_number(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(text.c_str(), &end, 10);
    const bool whole = end != text.c_str() && end == text.c_str() + text.size();
    if (!whole || errno != 0 || to_32bit_range(value) != value) return std::nullopt;
    return static_cast<long>(value);
}
