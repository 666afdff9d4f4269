// Small text helpers that every lab tool needs: numbers, escapes of the journals, words of a line, and the options
// string (key=value|key=value) of the controller's records.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

// The whole of `text` as a decimal number; nothing when it is empty, has other characters or does not fit.
std::optional<long> to_number(std::string_view text);
// The whole of `text` as a decimal fraction; nothing otherwise.
std::optional<double> to_fraction(std::string_view text);
// `number` in decimal, filled with zeros to at least `width` digits.
std::string zero_padded(long number, size_t width);
// `number` in its shortest form: 21, 20.5.
std::string short_fraction(double number);

// False for bytes that continue a UTF-8 character.
bool starts_character(char byte);
bool equal_ignoring_case(std::string_view a, std::string_view b);

// Backslash, line feed and tab as \\, \n and \t, so that a record fits on one line of fields divided by tabs.
std::string escaped(const std::string& text);
// The reverse of escaped(); \r, \0 and \xHH are understood as well.
std::string unescaped(std::string_view text);

// Words divided by blanks; a part in double quotes may hold blanks (match="A B"), \" is a quote within it.
std::vector<std::string> split_words(std::string_view line);
// Every piece between `separator`s, empty ones dropped.
std::vector<std::string> split(std::string_view text, char separator);

// A file as one text; empty when it cannot be read.
std::string file_text(const std::string& path);

// The value of `key` in an options string; empty when there is none.
std::string option_of(std::string_view options, std::string_view key);

}  // namespace lab
