// Splits a text at a set of separator characters. Used for options strings and lists of actions.
#pragma once

#include <string>
#include <vector>

// Appends to `tokens` every maximal run of characters of `text` that are not in `delimiters`, in order: leading,
// trailing and repeated delimiters give no empty tokens.
void tokenize(const std::string& text, std::vector<std::string>& tokens, const std::string& delimiters);
