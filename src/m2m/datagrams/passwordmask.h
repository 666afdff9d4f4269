// Datagrams are logged whole, but a password must never reach a log.
#pragma once

#include <string>

// The text with the value of each "password" member, at any depth, replaced by <NOT PRINTED>; all else stays byte for
// byte, the quotes around a text value included. A text that is not JSON (cut, or made by hand) is masked as well as
// can be: after each "password" and a colon or equals sign, up to the end of the value.
std::string mask_passwords(const std::string& text);
