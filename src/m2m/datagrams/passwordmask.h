// Datagrams are logged whole, but a password must never reach a log.
#pragma once

#include <string>

// The text with the value of each "password" member, at any depth, replaced by <NOT PRINTED>; all else stays byte for
// byte, the quotes around a text value included. A text that is not JSON (cut, or made by hand) is masked as well as
// can be: after each "password" and a colon or equals sign, up to the end of the value.
std::string mask_passwords(const std::string& text);

// Whether a text may hold a password member at all. What the JSON library says about such a text quotes parts of it and
// must not be logged as it stands.
bool may_hold_password(const std::string& text);
