// The edge of the JSON library: ownership, the one way to add a member, and the one way to make text.
#pragma once

#include <jansson.h>

#include <memory>
#include <string>

struct JsonFree {
    void operator()(json_t* value) const { json_decref(value); }
};
using Json = std::unique_ptr<json_t, JsonFree>;

// Adds `value`, which is taken over, to `object` under `key`. A null value (the library made none: text that is not
// UTF-8, or no memory) or a failed insertion logs "`unit` error adding tag <`key`>" and returns false.
bool add_member(json_t* object, const char* key, json_t* value, const char* unit);

// A new JSON string of `text` up to its first zero character; null when it is not valid UTF-8.
json_t* json_text(const std::string& text);

// The text that travels: compact, keys in the order in which they were added. Empty when `value` is null.
std::string dump(const json_t* value);
