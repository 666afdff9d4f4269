// Decimal numbers out of texts that come from strangers: database values, datagrams, command lines, core calls.
// IDs and ports are signed 32-bit numbers on every machine, so all of these keep to that range: a number too large
// for the 32-bit target behaves the same on a 64-bit desk.
#pragma once

#include <optional>
#include <string>

// Reads leading digits as strtol does: blanks and a sign may precede them, anything may follow, no digits give 0.
// Values out of the 32-bit range stop at its ends.
long to_number(const char* text);
long to_number(const std::string& text);

// Reads a text that must be a number as a whole (blanks and a sign may precede it). Nothing when it is empty, carries
// other characters or leaves the 32-bit range.
std::optional<long> parse_number(const std::string& text);

// Brings a 64-bit value into the 32-bit range, stopping at its ends.
long to_32bit_range(long long value);
