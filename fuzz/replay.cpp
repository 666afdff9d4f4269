// Stands in for libFuzzer where there is none: calls the target with each file named, or with each file of each folder
// named. Fails when there are no files, so that a corpus that has gone missing is noticed.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzztarget.h"

namespace {

std::vector<std::filesystem::path> files_in(const std::filesystem::path& place) {
    if (!std::filesystem::is_directory(place)) return {place};
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(place)) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

int replay(const std::vector<std::string>& places) {
    std::size_t count = 0;
    for (const std::string& place : places) {
        for (const auto& file : files_in(place)) {
            // Named beforehand: an input that ends the process is the last one named.
            std::fprintf(stderr, "%s\n", file.c_str());
            std::ifstream in(file, std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
            if (in.bad() || !in.is_open()) {
                std::fprintf(stderr, "cannot be read\n");
                return 1;
            }
            const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
            LLVMFuzzerTestOneInput(input.data(), input.size());
            ++count;
        }
    }
    std::fprintf(stderr, "%zu inputs\n", count);
    return count == 0 ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return replay({argv + 1, argv + argc});
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "%s\n", problem.what());
        return 1;
    }
}
