// What tests of src/ share: catching what the code says, and the tables of cases beside the test sources.
#pragma once

#include <jansson.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

using Texts = std::vector<std::string>;

// Runs `action` with the standard output turned aside: the bytes written to it, among them what a failed EXPECT says.
std::string console_of(const std::function<void()>& action);
// The same as messages: without escapes, process ID and the prefix of errors and warnings.
Texts messages_of(const std::function<void()>& action);

// The text that would travel, taking over `value`; it must be JSON in the eyes of another library.
std::string wire(json_t* value);

// The table `name` of the JSON file beside the test source `file`: x_test.cpp has x.json.
nlohmann::json cases(const std::string& file, const char* name);

// Sends the pieces so that the reader gets them one by one: on a Unix-domain socket each follows when the one before
// has been read, on others when it has arrived.
void send_pieces(int fd, const Texts& pieces);

// A path for a file of this process alone, in a folder that goes with the process.
std::string own_path(const std::string& name);
