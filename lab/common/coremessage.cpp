#include "common/coremessage.h"

#include <cstddef>

#include "common/text.h"

namespace lab {

namespace {

constexpr std::string_view length_tag = "LengthRequestIs: ";
constexpr long most_parameters = 64;
constexpr long longest_value = 1L << 20U;

// Walks a request line by line. `state` goes from complete to incomplete or malformed and stays there.
class Reader {
  public:
    explicit Reader(std::string_view text) : rest_(text) {}

    Parsed state() const { return state_; }
    bool starts_with_tag(std::string_view tag) const { return equal_ignoring_case(rest_.substr(0, tag.size()), tag); }

    // The rest of a line that begins with `tag`.
    std::string_view tagged(std::string_view tag) {
        const size_t end = rest_.find('\n');
        if (end == std::string_view::npos) {
            fail(tag.size() <= rest_.size() && !starts_with_tag(tag) ? Parsed::malformed : Parsed::incomplete);
            return {};
        }
        if (!starts_with_tag(tag)) {
            fail(Parsed::malformed);
            return {};
        }
        const std::string_view value = rest_.substr(tag.size(), end - tag.size());
        rest_.remove_prefix(end + 1);
        return value;
    }

    long number(std::string_view tag, long most) {
        const auto value = to_number(tagged(tag));
        if (!value || *value < 0 || *value > most) {
            fail(Parsed::malformed);
            return 0;
        }
        return *value;
    }

    // Exactly `length` bytes and a line feed.
    std::string_view block(size_t length) {
        if (rest_.size() <= length) {
            fail(Parsed::incomplete);
            return {};
        }
        if (rest_[length] != '\n') {
            fail(Parsed::malformed);
            return {};
        }
        const std::string_view value = rest_.substr(0, length);
        rest_.remove_prefix(length + 1);
        return value;
    }

  private:
    void fail(Parsed how) {
        if (state_ == Parsed::complete) {
            state_ = how;
            rest_ = {};
        }
    }

    std::string_view rest_;
    Parsed state_ = Parsed::complete;
};

std::string parameter_tag(size_t index) {
    return "Param" + zero_padded(static_cast<long>(index), 3);
}

std::string with_length(const std::string& text, std::string_view tag) {
    return std::string(tag) + zero_padded(static_cast<long>(text.size()), 9) + "\n" + text;
}

}  // namespace

Parsed parse_core_request(std::string_view text, CoreRequest& request) {
    Reader reader(text);
    request = {};
    request.length_managed = reader.starts_with_tag(length_tag);
    if (request.length_managed) {
        reader.number(length_tag, longest_value);
    }
    request.function = reader.tagged("Request: ");
    const long count = reader.number("Parameter Count: ", most_parameters);
    for (size_t i = 0; i < static_cast<size_t>(count) && reader.state() == Parsed::complete; ++i) {
        const auto length = static_cast<size_t>(reader.number(parameter_tag(i) + " Length: ", longest_value));
        const std::string tag = parameter_tag(i) + ":";
        if (length > 0 || reader.starts_with_tag(tag)) {
            reader.tagged(tag);
            request.parameters.emplace_back(reader.block(length));
        } else {
            request.parameters.emplace_back();
        }
    }
    request.wait_time = std::to_string(reader.number("Waittime: ", longest_value));
    reader.block(0);
    return reader.state();
}

std::string compose_core_request(const CoreRequest& request) {
    std::string text = "Request: " + request.function + "\n";
    text += "Parameter Count: " + std::to_string(request.parameters.size()) + "\n";
    for (size_t i = 0; i < request.parameters.size(); ++i) {
        const std::string& value = request.parameters[i];
        text += parameter_tag(i) + " Length: " + std::to_string(value.size()) + "\n";
        text += parameter_tag(i) + ":\n" + value + "\n";
    }
    text += "Waittime: " + request.wait_time + "\n\n";
    return request.length_managed ? with_length(text, length_tag) : text;
}

std::string compose_runner_call(const CoreRequest& call) {
    std::string text = "Request: " + call.function + "\n";
    text += "Parameter Count: " + std::to_string(call.parameters.size()) + "\n";
    for (size_t i = 0; i < call.parameters.size(); ++i) {
        const std::string& value = call.parameters[i];
        text += parameter_tag(i) + " Length: " + std::to_string(value.size()) + "\n";
        if (!value.empty()) {
            text += parameter_tag(i) + ": \n" + value + "\n";
        }
    }
    text += "Waittime: " + call.wait_time + "\n\n";
    return call.length_managed ? with_length(text, length_tag) : text;
}

std::string compose_core_reply(long status, bool length_managed) {
    const std::string text = "Response Status: FSMC-" + zero_padded(status, 3) + "\nParameter Count: 0\n\n";
    return length_managed ? with_length(text, "LengthResponseIs: ") : text;
}

std::optional<long> parse_core_reply(std::string_view text) {
    Reader reader(text);
    const std::string_view status = reader.tagged("Response Status: FSMC-");
    if (reader.state() != Parsed::complete) {
        return std::nullopt;
    }
    return to_number(status);
}

}  // namespace lab
