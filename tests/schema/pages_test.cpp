// Holds docs/limits.md and the manual pages to the tree: what they name must be there.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "document.h"

namespace {

namespace fs = std::filesystem;

// "Suite.Name" of every test in the tree.
std::set<std::string> tests_of_the_tree() {
    const std::regex definition(R"(\bTEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\))");
    std::set<std::string> names;
    for (const auto& file : fs::recursive_directory_iterator(document::project() / "tests")) {
        if (file.path().extension() != ".cpp") continue;
        const std::string text = document::text_of(file.path());
        for (std::sregex_iterator found(text.begin(), text.end(), definition), end; found != end; ++found)
            names.insert((*found)[1].str() + "." + (*found)[2].str());
    }
    return names;
}

// A cell like "`name` in `src/folder/file.cpp`": files have a slash, other words must stand in one of them.
void expect_in_the_tree(const std::string& cell) {
    std::string text;
    std::vector<std::string> names;
    for (const std::string& word : document::words_of(cell)) {
        if (word.find('/') == std::string::npos) {
            names.push_back(word);
        } else if (fs::exists(document::project() / word)) {
            text += document::text_of(word);
        } else {
            ADD_FAILURE() << word << " is not there";
        }
    }
    EXPECT_FALSE(text.empty()) << "no file in: " << cell;
    for (const std::string& name : names) EXPECT_NE(text.find(name), std::string::npos) << name << " in: " << cell;
}

TEST(LimitsPage, NamesCodeAndTestsThatExist) {
    constexpr std::size_t columns = 5;  // limit, value, beyond it, where, test
    const std::set<std::string> tests = tests_of_the_tree();
    std::size_t limits = 0;
    for (const auto& row : document::rows_of("docs/limits.md")) {
        ASSERT_EQ(row.size(), columns) << row.front();
        if (row[0] == "limit") continue;
        SCOPED_TRACE(row[0]);
        ++limits;
        expect_in_the_tree(row[3]);
        for (const std::string& test : document::words_of(row[4])) EXPECT_EQ(tests.count(test), 1U) << test;
    }
    EXPECT_GE(limits, 30U);
}

std::string output_of(const std::string& command) {
    struct Close {
        void operator()(FILE* pipe) const { pclose(pipe); }
    };
    const std::unique_ptr<FILE, Close> pipe(popen(command.c_str(), "r"));
    std::string text;
    for (int c = pipe ? std::fgetc(pipe.get()) : EOF; c != EOF; c = std::fgetc(pipe.get()))
        text += static_cast<char>(c);
    return text;
}

TEST(ManualPages, TellEveryCommandAndOptionOfNeighbour) {
    const std::string program = M2M_NEIGHBOUR;
    const std::string help = output_of(program + " --help");
    std::set<std::string> words;
    const std::regex command(R"(\n  ([a-z]+) {2,}\S)");
    const std::regex option(R"((--[a-z](?:[a-z0-9.-]*[a-z0-9])?))");
    const std::size_t commandsBegin = help.find("Subcommands:");
    ASSERT_NE(commandsBegin, std::string::npos);
    const std::string commands = help.substr(commandsBegin, help.find("\n\n", commandsBegin) - commandsBegin) + "\n";
    std::string all = help;
    for (std::sregex_iterator found(commands.begin(), commands.end(), command), end; found != end; ++found) {
        words.insert("*" + (*found)[1].str() + "*");
        all += output_of(program + " " + (*found)[1].str() + " --help");
    }
    EXPECT_GE(words.size(), 10U);
    for (std::sregex_iterator found(all.begin(), all.end(), option), end; found != end; ++found)
        words.insert("*" + (*found)[1].str() + "*");

    const std::string page = document::text_of("man/neighbour.1.adoc");
    for (const std::string& word : words) EXPECT_NE(page.find(word), std::string::npos) << word;
}

TEST(ManualPages, TellTheOptionsOfTheProgram) {
    const std::string source = document::text_of("src/m2m/m2mclienthandler.cpp");
    const std::string page = document::text_of("man/m2mclientmanager.8.adoc");
    const std::regex option(R"re("(--[A-Za-z-]+)")re");
    std::size_t options = 0;
    for (std::sregex_iterator found(source.begin(), source.end(), option), end; found != end; ++found, ++options)
        EXPECT_NE(page.find("*" + (*found)[1].str() + "*"), std::string::npos) << (*found)[1];
    EXPECT_GE(options, 4U);
}

}  // namespace
