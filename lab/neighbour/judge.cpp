#include "judge.h"

#include <limits>

#include "status.h"

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
    switch (result) {
        case 0:
            return "success";
        case 2:
            return "unknown function, or a response where a request is expected";
        case 3:
            return function == "register" ? "not attached, not enabled or wrong token"
                                          : "the controller could not read";
        case 4:
            return "communication mode not supported";
        case 6:
            return "socket failure";
        case 10:
            return function == "doaction" ? "nothing done, or the object is unknown or not registered" : "nothing done";
        case 11:
            return "not attached, not enabled or wrong token";
        case 13:
            return "the controller's database request failed";
        case 16:
            return function == "getstatus" ? "no object with a value was found" : "missing record, object or ID";
        case 29:
            return function == "attach" ? "wrong user or password" : "not attached, not enabled or wrong token";
        case 30:
            return "the controller's list of gateways is full";
        default:
            return "a code of the controller's services";
    }
}

}  // namespace neighbour
