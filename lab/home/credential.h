// The credential of a password as the controller stores it and the link sends it.
#pragma once

#include <string>

namespace lab {

// "{SHA}" and the base64 of the password's SHA-1 digest, up to its first zero byte: the link treats the digest as a
// zero-terminated text, and both sides have to agree.
std::string credential_of(const std::string& password);

}  // namespace lab
