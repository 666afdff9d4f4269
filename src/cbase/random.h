// The random characters that tokens and message identifiers are made of.
#pragma once

#include <cstdlib>

// A character from 0 to 127 drawn with the standard generator, which nobody seeds: a process draws the same row each
// time it runs, and control characters are among them.
inline char random_character() {
    constexpr int characters = 128;
    int drawn = std::rand() % characters;
    while (drawn < 0 || drawn >= characters) drawn = std::rand() % characters;
    return static_cast<char>(drawn);
}
