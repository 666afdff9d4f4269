#include "neighbour/judge.h"

#include <array>
#include <limits>

#include "neighbour/status.h"

namespace neighbour {
namespace {

int status_of_result(long long result) {
    return result >= 0 && result <= status::highestResult ? static_cast<int>(result) : status::otherResult;
}

void compare(const char* key, const std::string& got, const std::string& expected, std::vector<std::string>& remarks) {
    if (got == expected) return;
    remarks.push_back("the answer's \"" + std::string(key) + "\" is \"" + got + "\" instead of \"" + expected + "\"");
}

const Json* member(const Json& value, const char* key) {
    if (!value.is_object()) return nullptr;
    const auto found = value.find(key);
    return found == value.end() ? nullptr : &*found;
}

}  // namespace

std::string text_member(const Json& value, const char* key) {
    const Json* const found = member(value, key);
    return found != nullptr && found->is_string() ? found->get<std::string>() : std::string();
}

std::string any_member(const Json& value, const char* key) {
    const Json* const found = member(value, key);
    if (found == nullptr) return {};
    return found->is_string() ? found->get<std::string>() : found->dump();
}

std::optional<long long> integer_member(const Json& value, const char* key) {
    const Json* const found = member(value, key);
    if (found == nullptr || !found->is_number_integer()) return std::nullopt;
    if (found->is_number_unsigned() &&
        found->get<unsigned long long>() > static_cast<unsigned long long>(std::numeric_limits<long long>::max())) {
        return std::nullopt;
    }
    return found->get<long long>();
}

Verdict judge_answer(std::string_view answer, const Json* request) {
    Verdict verdict;
    verdict.status = status::badAnswer;
    if (answer.empty()) {
        verdict.status = status::noAnswer;
        return verdict;
    }
    auto body = decode(answer);
    if (!body || !body->is_object()) {
        verdict.remarks.emplace_back(body ? "the answer is no JSON object" : "the answer is not JSON");
        return verdict;
    }
    verdict.body = std::move(*body);
    verdict.result = integer_member(verdict.body, "result");
    if (!verdict.result) {
        verdict.remarks.emplace_back("the answer has no \"result\"");
        return verdict;
    }
    compare("type", text_member(verdict.body, "type"), "response", verdict.remarks);
    if (request != nullptr) {
        compare("function", text_member(verdict.body, "function"), text_member(*request, "function"), verdict.remarks);
        compare("target", text_member(verdict.body, "target"), text_member(*request, "source"), verdict.remarks);
        compare("msg_id", text_member(verdict.body, "msg_id"), text_member(*request, "msg_id"), verdict.remarks);
    }
    // A controller that could not read the request cannot repeat its function and ID: its refusal counts all the same.
    // A success that answers something else is none.
    if (*verdict.result != 0 || verdict.remarks.empty()) verdict.status = status_of_result(*verdict.result);
    return verdict;
}

std::string result_meaning(std::string_view function, long long result) {
    struct Meaning {
        long long result;
        std::string_view function;  // empty: any other
        const char* text;
    };
    constexpr const char* unauthorised = "not attached, not enabled or wrong token";
    constexpr std::array meanings = {
        Meaning{0, "", "success"},
        Meaning{2, "", "unknown function, or a response where a request is expected"},
        Meaning{3, "register", unauthorised},
        Meaning{3, "", "the controller could not read"},
        Meaning{4, "", "communication mode not supported"},
        Meaning{6, "", "socket failure"},
        Meaning{10, "doaction", "nothing done, or the object is unknown or not registered"},
        Meaning{10, "", "nothing done"},
        Meaning{11, "", unauthorised},
        Meaning{13, "", "the controller's database request failed"},
        Meaning{16, "getstatus", "no object with a value was found"},
        Meaning{16, "", "missing record, object or ID"},
        Meaning{29, "attach", "wrong user or password"},
        Meaning{29, "", unauthorised},
        Meaning{30, "", "the controller's list of gateways is full"},
    };
    for (const Meaning& meaning : meanings) {
        if (meaning.result == result && (meaning.function.empty() || meaning.function == function)) return meaning.text;
    }
    return "a code of the controller's services";
}

}  // namespace neighbour
