#include "document.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace document {

namespace {

constexpr std::string_view commentStart = "<!-- ";
constexpr std::string_view commentEnd = " -->";
constexpr std::string_view fence = "```";
constexpr std::string_view schemaLabel = "schema: ";

std::string trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(' ');
    if (begin == std::string_view::npos) return {};
    return std::string(text.substr(begin, text.find_last_not_of(' ') - begin + 1));
}

std::string comment_in(std::string_view line) {
    const bool whole = line.starts_with(commentStart) && line.ends_with(commentEnd);
    return whole ? std::string(line.substr(commentStart.size(), line.size() - commentStart.size() - commentEnd.size()))
                 : std::string();
}

}  // namespace

std::filesystem::path project() {
    return M2M_SOURCE_DIR;
}

std::string text_of(const std::filesystem::path& file) {
    const std::ifstream in(project() / file, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + file.string());
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<Block> blocks_of(const std::filesystem::path& page) {
    std::istringstream lines(text_of(page));
    std::vector<Block> blocks;
    std::string line;
    std::string before;
    bool inside = false;
    for (std::size_t number = 1; std::getline(lines, line); ++number) {
        if (line.starts_with(fence)) {
            if (!inside) blocks.push_back({comment_in(before), line.substr(fence.size()), "", number});
            inside = !inside;
        } else if (inside) {
            blocks.back().text += line + "\n";
        }
        before = line;
    }
    return blocks;
}

std::vector<std::vector<std::string>> rows_of(const std::filesystem::path& page) {
    std::istringstream lines(text_of(page));
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with('|') || line.starts_with("|---")) continue;
        std::istringstream cells(line.substr(1));
        rows.emplace_back();
        for (std::string cell; std::getline(cells, cell, '|');) rows.back().push_back(trimmed(cell));
    }
    return rows;
}

std::vector<std::string> words_of(std::string_view cell) {
    std::vector<std::string> words;
    for (std::size_t open = cell.find('`'); open != std::string_view::npos;) {
        const std::size_t close = cell.find('`', open + 1);
        if (close == std::string_view::npos) break;
        words.emplace_back(cell.substr(open + 1, close - open - 1));
        open = cell.find('`', close + 1);
    }
    return words;
}

std::vector<Example> protocol_examples() {
    std::vector<Example> examples;
    for (const Block& block : blocks_of("docs/protocol.md")) {
        if (block.language != "json") continue;
        const bool named = block.label.starts_with(schemaLabel);
        examples.push_back({named ? block.label.substr(schemaLabel.size()) : "", block.text, block.line});
    }
    return examples;
}

}  // namespace document
