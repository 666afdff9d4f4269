// Judges datagrams by the JSON Schemas in docs/schema/, with another JSON library than the program's own. For every
// test that sees a datagram on the wire.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace schemas {

// What is wrong with a datagram, one line each, as "schema: place: reason"; empty when it is in order.
using Errors = std::vector<std::string>;

// Judges `text` as what its "type" and "function" say it is. A response that does not fit the schema of its function
// may still be an error reply, which answers any function.
Errors validate(std::string_view text);

// Judges `text` by the schema `name`, as in "attach-request".
Errors validate(std::string_view text, const std::string& name);

// The names of all datagrams that have a schema, in alphabetical order.
std::vector<std::string> names();

}  // namespace schemas
