// What all fuzz targets share. A target is one file in targets/: it defines LLVMFuzzerTestOneInput, calls one parser or
// one class with the input, and requires what must hold for any input. libFuzzer calls it with inputs of its own
// making, replay.cpp with the files of corpus/.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

// Ends the process, as a finding, when `holds` is false; `claim` is printed.
void require(bool holds, const char* claim);

// The input as bytes.
std::string bytes_of(const std::uint8_t* data, std::size_t size);
// The input up to its first zero byte, which is how the program takes what it has read.
std::string text_of(const std::uint8_t* data, std::size_t size);

// Takes the text up to the next line feed off `rest`, the line feed with it.
std::string take_line(std::string& rest);

}  // namespace fuzz
