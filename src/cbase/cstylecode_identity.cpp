#include "cbase/cstylecode_identity.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <openssl/bio.h>
#include <openssl/buffer.h>
#include <openssl/evp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <string>

#include "cbase/descriptor.h"
#include "cbase/logging.h"
#include "cbase/memory.h"
#include "cbase/version.h"

namespace {

constexpr const char* interfaceName = "eth0";
constexpr std::size_t macBytes = 6;

// Asks the kernel about the interface. Returns the reason of a failure after the words "No IP: " or "No MAC: ", or
// null.
const char* query_interface(unsigned long request, ifreq& answer) {
    const Descriptor fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!fd.valid()) return "socket function fail";
    answer = ifreq{};
    std::strncpy(answer.ifr_name, interfaceName, sizeof answer.ifr_name - 1);
    answer.ifr_addr.sa_family = AF_INET;
    if (ioctl(fd.get(), request, &answer) < 0) return "ioctl function fail for interface eth0";
    return nullptr;
}

bool read_mac(std::array<unsigned char, macBytes>& mac) {
    ifreq answer{};
    if (const char* failure = query_interface(SIOCGIFHWADDR, answer)) {
        error("Cstylecode->getlocalmac error: %s", (std::string("No MAC: ") + failure).c_str());
        return false;
    }
    std::memcpy(mac.data(), answer.ifr_hwaddr.sa_data, macBytes);
    return true;
}

// CRC-16 of the 256 single bytes for the reflected polynomial 0xA001.
constexpr std::array<std::uint16_t, 256> make_crc_table() {
    std::array<std::uint16_t, 256> table{};
    for (unsigned byte = 0; byte < table.size(); ++byte) {
        unsigned value = byte;
        for (int bit = 0; bit < 8; ++bit) value = (value & 1U) != 0 ? (value >> 1U) ^ 0xA001U : value >> 1U;
        table[byte] = static_cast<std::uint16_t>(value);
    }
    return table;
}
constexpr std::array<std::uint16_t, 256> crcTable = make_crc_table();

}  // namespace

int getlocalip(char** out) {
    ifreq answer{};
    if (const char* failure = query_interface(SIOCGIFADDR, answer)) {
        *out = xstrcat("No IP: ", failure);
        return -1;
    }
    sockaddr_in address{};
    std::memcpy(&address, &answer.ifr_addr, sizeof address);
    *out = static_cast<char*>(xmalloc(INET_ADDRSTRLEN));
    if (*out == nullptr) return -1;
    inet_ntop(AF_INET, &address.sin_addr, *out, INET_ADDRSTRLEN);
    return 0;
}

int getlocalmac(char** out) {
    *out = nullptr;
    std::array<unsigned char, macBytes> mac{};
    if (!read_mac(mac)) return -1;
    char text[18];
    std::snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    *out = xstrcpy(nullptr, text);
    return *out == nullptr ? -1 : 0;
}

int getlocalrawmac(unsigned char** out) {
    *out = nullptr;
    std::array<unsigned char, macBytes> mac{};
    if (!read_mac(mac)) return -1;
    *out = zarrcpy(mac.data(), mac.size(), 0);
    return *out == nullptr ? -1 : 0;
}

char* convert_bytearraytohexstring(const unsigned char* bytes, std::size_t n) {
    char* text = static_cast<char*>(xmalloc(2 * n + 1));
    for (std::size_t i = 0; text != nullptr && i < n; ++i) std::snprintf(text + 2 * i, 3, "%02X", bytes[i]);
    return text;
}

int base64_encode(const char* text, char** out) {
    struct ChainFree {
        void operator()(BIO* chain) const { BIO_free_all(chain); }
    };
    *out = nullptr;
    std::unique_ptr<BIO, ChainFree> filter(BIO_new(BIO_f_base64()));
    BIO* memory = BIO_new(BIO_s_mem());
    if (!filter || memory == nullptr) {
        BIO_free(memory);
        return -1;
    }
    BIO_push(filter.get(), memory);
    BIO_set_flags(filter.get(), BIO_FLAGS_BASE64_NO_NL);
    const std::size_t length = std::strlen(text);
    if (length > 0 && BIO_write(filter.get(), text, static_cast<int>(length)) <= 0) return -1;
    BIO_flush(filter.get());
    BUF_MEM* encoded = nullptr;
    BIO_get_mem_ptr(memory, &encoded);
    *out = static_cast<char*>(xmalloc(encoded->length + 1));
    if (*out == nullptr) return -1;
    if (encoded->length > 0) std::memcpy(*out, encoded->data, encoded->length);
    return 0;
}

char* libcbase_get_version() {
    return xstrcpy(nullptr, version::libcbase);
}

std::uint16_t crc_16(const unsigned char* data, unsigned length) {
    unsigned crc = 0xFFFF;
    do {
        crc = (crc >> 8U) ^ crcTable[(crc ^ *data++) & 0xFFU];
    } while (--length > 0);
    return static_cast<std::uint16_t>(crc);
}
