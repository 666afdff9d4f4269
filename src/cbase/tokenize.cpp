#include "cbase/tokenize.h"

void tokenize(const std::string& text, std::vector<std::string>& tokens, const std::string& delimiters) {
    std::size_t begin = text.find_first_not_of(delimiters);
    while (begin != std::string::npos) {
        const std::size_t end = text.find_first_of(delimiters, begin);
        tokens.push_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(delimiters, end);
    }
}
