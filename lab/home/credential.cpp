#include "home/credential.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>

namespace lab {

std::string credential_of(const std::string& password) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    if (EVP_Digest(password.data(), password.size(), digest.data(), &length, EVP_sha1(), nullptr) != 1) return {};
    const auto* const end = std::find(digest.begin(), digest.begin() + length, 0);
    const auto used = static_cast<int>(end - digest.begin());
    std::array<unsigned char, 2UL * EVP_MAX_MD_SIZE> text{};
    const int written = EVP_EncodeBlock(text.data(), digest.data(), used);
    return "{SHA}" + std::string(text.begin(), text.begin() + written);
}

}  // namespace lab
