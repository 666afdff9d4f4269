// Who this controller is on the network (interface eth0, which is fixed), and the encodings used with it. Texts come in
// new heap blocks that the caller frees (xfree, XText). Log lines begin with "Cstylecode->".
#pragma once

#include <cstddef>
#include <cstdint>

// IPv4 address of eth0 in dotted form in `*out`, result 0; on failure the reason in `*out`, result -1.
int getlocalip(char** out);
// Hardware address of eth0 as "02:11:22:33:44:55" (upper case) in `*out`, result 0; on failure logs, sets `*out` to
// null and returns -1.
int getlocalmac(char** out);
// The six raw bytes of that address in a new block; fails like getlocalmac.
int getlocalrawmac(unsigned char** out);

// Two upper-case hexadecimal digits per byte; null when memory is out.
char* convert_bytearraytohexstring(const unsigned char* bytes, std::size_t n);
// Base64 of the bytes of `text` (not null) on one line in `*out`; returns 0, or -1 with `*out` null when OpenSSL or
// memory fails.
int base64_encode(const char* text, char** out);
// Version text of this library.
char* libcbase_get_version();
// CRC-16/MODBUS of `length` bytes; `length` must be at least 1.
std::uint16_t crc_16(const unsigned char* data, unsigned length);
