// Judges what came back for a request: is it a response, does it answer this request, what is its result. The judgement
// makes the exit status.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "neighbour/datagrams.h"

namespace neighbour {

// The JSON library's move asserts with throwing calls in between; it does not throw.
struct Verdict {     // NOLINT(bugprone-exception-escape)
    int status = 0;  // see status.h
    std::optional<long long> result;
    Json body;                         // the whole answer; null when it is not a JSON object
    std::vector<std::string> remarks;  // what is wrong with the answer, one sentence each
};

// `request` is what was asked, or null when that is not known (any bytes were sent): then nothing is compared.
Verdict judge_answer(std::string_view answer, const Json* request);

// What a result code means, for people; the same code says different things in different functions.
std::string result_meaning(std::string_view function, long long result);

// Text members of any JSON value: empty when it is not an object, lacks the key, or holds something else there.
std::string text_member(const Json& value, const char* key);
// A text as it is, any other value as JSON, nothing for an absent key.
std::string any_member(const Json& value, const char* key);
// An integer that fits; nothing else, no number with a fraction either.
std::optional<long long> integer_member(const Json& value, const char* key);

}  // namespace neighbour
