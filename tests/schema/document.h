// Reads the project's Markdown pages, so that tests can hold them to their word: fenced blocks with the comment that
// names them, and the rows of tables.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace document {

// A fenced block: "<!-- label -->" on the line before it (empty when there is none), "```language", and its text.
struct Block {
    std::string label;
    std::string language;
    std::string text;
    std::size_t line = 0;  // of the opening fence, from 1
};

// The folder that the project is checked out in.
std::filesystem::path project();

// The whole of a file of the project; throws when it cannot be read.
std::string text_of(const std::filesystem::path& file);

std::vector<Block> blocks_of(const std::filesystem::path& page);

// The rows of all tables of a page, cells trimmed, without the lines under the headings.
std::vector<std::vector<std::string>> rows_of(const std::filesystem::path& page);

// What stands between backticks in a cell, in order.
std::vector<std::string> words_of(std::string_view cell);

// The datagrams shown in docs/protocol.md: the blocks of JSON, named by their schema.
struct Example {
    std::string schema;  // "none" for what is no datagram
    std::string text;
    std::size_t line = 0;
};
std::vector<Example> protocol_examples();

}  // namespace document
