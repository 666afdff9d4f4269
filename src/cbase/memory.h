// Heap texts in the C manner. Every function that returns text returns a new zero-filled block that the caller releases
// with xfree (or holds in an XText). The "z" family can take over its inputs so that calls chain without temporaries;
// the "cut" family edits a text in place.
#pragma once

#include <cstddef>
#include <memory>

// A zero-filled block of `size` bytes; null, after logging, when memory is out.
void* xmalloc(std::size_t size);
void xfree(void* block);

struct XFree {
    void operator()(void* block) const { xfree(block); }
};
// Owns a heap text that one of these functions returned.
using XText = std::unique_ptr<char, XFree>;

// New text `a` followed by `b`; null counts as empty.
char* xstrcat(const char* a, const char* b);
// New copy of `s`. The first argument is there for callers that know strcpy and is not used.
char* xstrcpy(const char* ignored, const char* s);
// New text of the first `n` characters of `s` (all of it when it is shorter).
char* xstrncpy(const char* ignored, const char* s, std::size_t n);
char* xstrnlcpy(const char* ignored, const char* s, std::size_t n);

// New copy of `s` (null gives an empty text); releases `s` when `freeSource` is not 0.
char* zstrcpy(char* s, int freeSource);
// Block of strlen(s) + 1 bytes holding the first `n` characters of `s`; releases `s` when `freeSource` is not 0.
char* zstrncpy(char* s, std::size_t n, int freeSource);
// New text `a` followed by `b` (null counts as empty); then releases those whose flag is set.
char* zstrcat(char* a, char* b, int freeFirst, int freeSecond);
// New text with every occurrence of `search`, from left to right without overlap, replaced. Null when `search` occurs
// but `replacement` is null. A copy of `s` when it does not occur. Releases `s` when `freeSource` is not 0.
char* zstrreplace(char* s, const char* search, const char* replacement, int freeSource);
// New block of `n` bytes copied from `bytes` (n counts as 0 when it is null); releases `bytes` when asked to.
unsigned char* zarrcpy(unsigned char* bytes, std::size_t n, int freeSource);

// Removes the first `n` characters of `s`.
void cut_message_to_preserve_newline(char* s, std::size_t n);
// Removes the first `n` characters and the last one, the line end.
void cut_message_to_trim_newline(char* s, std::size_t n);
// Removes the first `n` characters and the blanks, tabs and "=" after them; ends the text at the next blank or tab.
void cutparamto(char* s, std::size_t n);
// Removes the first `n` characters and the blanks, tabs, single quotes and "~" after them; ends the text at the next
// blank, tab or single quote.
void cutqueryparamto(char* s, std::size_t n);
