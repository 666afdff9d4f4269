#include "common/coremessage.h"

#include <cstddef>

#include "common/text.h"

namespace lab {

namespace {

constexpr std::string_view length_tag = "LengthRequestIs: ";
constexpr long most_parameters = 64;
constexpr long longest_value = 1L << 20U;

std::string parameter_tag(size_t index) {
    return "Param" + zero_padded(static_cast<long>(index), 3);
}

std::string with_length(const std::string& text, std::string_view tag) {
    return std::string(tag) + zero_padded(static_cast<long>(text.size()), 9) + "\n" + text;
}

std::string compose(const CoreRequest& request, const char* tag_end, bool with_empty_values) {
    std::string text = "Request: " + request.function + "\n";
    text += "Parameter Count: " + std::to_string(request.parameters.size()) + "\n";
    for (size_t i = 0; i < request.parameters.size(); ++i) {
        const std::string& value = request.parameters[i];
        text += parameter_tag(i) + " Length: " + std::to_string(value.size()) + "\n";
        if (with_empty_values || !value.empty()) text += parameter_tag(i) + tag_end + value + "\n";
    }
    text += "Waittime: " + request.wait_time + "\n\n";
    return request.length_managed ? with_length(text, length_tag) : text;
}

}  // namespace

Parsed parse_core_request(std::string_view text, CoreRequest& request) {
    LineReader reader(text);
    request = {};
    request.length_managed = reader.begins_with(length_tag);
    if (request.length_managed) reader.number(length_tag, longest_value);
    request.function = reader.line("Request: ");
    const long count = reader.number("Parameter Count: ", most_parameters);
    for (size_t i = 0; i < static_cast<size_t>(count) && reader.state() == Parsed::complete; ++i) {
        const auto length = static_cast<size_t>(reader.number(parameter_tag(i) + " Length: ", longest_value));
        const std::string tag = parameter_tag(i) + ":";
        request.parameters.emplace_back();
        if (length > 0 || reader.begins_with(tag)) {
            reader.line(tag);
            request.parameters.back() = reader.block(length);
        }
    }
    request.wait_time = std::to_string(reader.number("Waittime: ", longest_value));
    reader.block(0);
    return reader.state();
}

std::string compose_core_request(const CoreRequest& request) {
    return compose(request, ":\n", true);
}

std::string compose_runner_call(const CoreRequest& call) {
    return compose(call, ": \n", false);
}

std::string compose_core_reply(long status, bool length_managed) {
    const std::string text = "Response Status: FSMC-" + zero_padded(status, 3) + "\nParameter Count: 0\n\n";
    return length_managed ? with_length(text, "LengthResponseIs: ") : text;
}

std::optional<long> parse_core_reply(std::string_view text) {
    return to_number(LineReader(text).line("Response Status: FSMC-"));
}

}  // namespace lab
