#include "cbase/memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "cbase/logging.h"

namespace {

std::string_view view(const char* s) {
    return s == nullptr ? std::string_view() : std::string_view(s);
}

// New text made of the two pieces; null when memory is out.
char* joined(std::string_view a, std::string_view b) {
    char* text = static_cast<char*>(xmalloc(a.size() + b.size() + 1));
    if (text == nullptr) return nullptr;
    std::copy(a.begin(), a.end(), text);
    std::copy(b.begin(), b.end(), text + a.size());
    return text;
}

void release_if(int wanted, void* block) {
    if (wanted != 0) xfree(block);
}

// Moves the part of `s` from `from` on to its front.
void keep_from(char* s, std::size_t from) {
    std::memmove(s, s + from, std::strlen(s + from) + 1);
}

// The common part of the two parameter cutters: skip `n` characters, then `separators`, end at one of `terminators`.
void cut_parameter(char* s, std::size_t n, const char* unit, const char* separators, const char* terminators) {
    if (view(s).empty()) {
        error("memory->%s received a null pointer", unit);
        return;
    }
    if (n > std::strlen(s)) {
        error("memory->%s len is greater than string length; returning a null string", unit);
        s[0] = '\0';
        return;
    }
    keep_from(s, n + std::strspn(s + n, separators));
    s[std::strcspn(s, terminators)] = '\0';
}

// The common part of the two message cutters; false when nothing is left to cut.
bool cut_message(char* s, std::size_t n, const char* unit) {
    if (view(s).empty()) {
        error("memory->%s received a null pointer", unit);
        return false;
    }
    const std::size_t length = std::strlen(s);
    if (n > length) {
        error("memory->%s len is greater than string length; returning a null string. str = '%s', len = %d", unit, s,
              static_cast<int>(length));
        s[0] = '\0';
        return false;
    }
    keep_from(s, n);
    return true;
}

}  // namespace

void* xmalloc(std::size_t size) {
    void* block = std::calloc(1, std::max<std::size_t>(size, 1));
    if (block == nullptr) error("memory->xmalloc reports an out of memory for %d new bytes", static_cast<int>(size));
    return block;
}

void xfree(void* block) {
    std::free(block);
}

char* xstrcat(const char* a, const char* b) {
    return joined(view(a), view(b));
}

char* xstrcpy(const char* /*ignored*/, const char* s) {
    return joined(view(s), {});
}

char* xstrncpy(const char* /*ignored*/, const char* s, std::size_t n) {
    return joined(view(s).substr(0, n), {});
}

char* xstrnlcpy(const char* ignored, const char* s, std::size_t n) {
    return xstrncpy(ignored, s, n);
}

char* zstrcpy(char* s, int freeSource) {
    char* copy = joined(view(s), {});
    release_if(freeSource, s);
    return copy;
}

char* zstrncpy(char* s, std::size_t n, int freeSource) {
    const std::string_view source = view(s);
    char* copy = static_cast<char*>(xmalloc(source.size() + 1));
    if (copy != nullptr) std::copy_n(source.begin(), std::min(n, source.size()), copy);
    release_if(freeSource, s);
    return copy;
}

char* zstrcat(char* a, char* b, int freeFirst, int freeSecond) {
    char* text = joined(view(a), view(b));
    release_if(freeFirst, a);
    if (b != a || freeFirst == 0) release_if(freeSecond, b);
    return text;
}

char* zstrreplace(char* s, const char* search, const char* replacement, int freeSource) {
    const std::string_view source = view(s);
    const std::string_view wanted = view(search);
    if (wanted.empty() || source.find(wanted) == std::string_view::npos) return zstrcpy(s, freeSource);
    if (replacement == nullptr) {
        release_if(freeSource, s);
        return nullptr;
    }
    const std::string_view inserted(replacement);
    std::size_t count = 0;
    for (std::size_t at = source.find(wanted); at != std::string_view::npos;
         at = source.find(wanted, at + wanted.size()))
        ++count;
    char* text = static_cast<char*>(xmalloc(source.size() - count * wanted.size() + count * inserted.size() + 1));
    if (text != nullptr) {
        char* out = text;
        std::size_t from = 0;
        for (std::size_t at = source.find(wanted); at != std::string_view::npos; at = source.find(wanted, from)) {
            out = std::copy_n(source.begin() + from, at - from, out);
            out = std::copy(inserted.begin(), inserted.end(), out);
            from = at + wanted.size();
        }
        std::copy(source.begin() + from, source.end(), out);
    }
    release_if(freeSource, s);
    return text;
}

unsigned char* zarrcpy(unsigned char* bytes, std::size_t n, int freeSource) {
    if (bytes == nullptr) n = 0;
    auto* copy = static_cast<unsigned char*>(xmalloc(n));
    if (copy != nullptr && n > 0) std::memcpy(copy, bytes, n);
    release_if(freeSource, bytes);
    return copy;
}

void cut_message_to_preserve_newline(char* s, std::size_t n) {
    cut_message(s, n, "cut_message_to_preserve_newline");
}

void cut_message_to_trim_newline(char* s, std::size_t n) {
    if (!cut_message(s, n, "cut_message_to_trim_newline")) return;
    const std::size_t length = std::strlen(s);
    if (length > 0) s[length - 1] = '\0';
}

void cutparamto(char* s, std::size_t n) {
    cut_parameter(s, n, "cutparamto", " \t=", " \t");
}

void cutqueryparamto(char* s, std::size_t n) {
    cut_parameter(s, n, "cutqueryparamto", " \t'~", " \t'");
}
