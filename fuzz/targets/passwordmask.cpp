#include "m2m/datagrams/passwordmask.h"

#include <nlohmann/json.hpp>
#include <string_view>

#include "cbase/jsontext.h"
#include "fuzztarget.h"

namespace {

// Writes a text that is known to be JSON once more, passwords masked, by walking its grammar: how the mask finds them
// is another way.
class Walker {
  public:
    explicit Walker(std::string_view text) : text_(text) {}

    std::string masked() {
        value();
        blanks();
        return out_;
    }

  private:
    char now() const { return at_ < text_.size() ? text_[at_] : '\0'; }
    void keep() { out_ += text_[at_++]; }
    void blanks() {
        while (at_ < text_.size() && std::string_view(" \t\r\n").find(text_[at_]) != std::string_view::npos) keep();
    }
    void string() {
        keep();
        while (at_ < text_.size() && text_[at_] != '"') {
            if (text_[at_] == '\\') keep();
            keep();
        }
        keep();
    }
    void object() {
        keep();
        for (blanks(); now() != '}'; blanks()) {
            if (now() == ',') keep();
            blanks();
            const std::size_t begin = at_;
            string();
            const auto name = nlohmann::json::parse(text_.substr(begin, at_ - begin));
            blanks();
            keep();
            blanks();
            member(name == "password");
        }
        keep();
    }
    void member(bool secret) {
        if (!secret) {
            value();
            return;
        }
        const bool quoted = now() == '"';
        const std::size_t kept = out_.size();
        value();
        out_.resize(kept);
        out_ += quoted ? "\"<NOT PRINTED>\"" : "<NOT PRINTED>";
    }
    void array() {
        keep();
        for (blanks(); now() != ']'; blanks()) {
            if (now() == ',') keep();
            value();
        }
        keep();
    }
    void value() {
        blanks();
        if (now() == '{') {
            object();
        } else if (now() == '[') {
            array();
        } else if (now() == '"') {
            string();
        } else {
            while (at_ < text_.size() && std::string_view(",]} \t\r\n").find(text_[at_]) == std::string_view::npos)
                keep();
        }
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::string out_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = fuzz::text_of(data, size);
    const std::string masked = mask_passwords(text);
    const Json parsed(json_loads(text.c_str(), JSON_DECODE_ANY, nullptr));
    if (parsed) fuzz::require(masked == Walker(text).masked(), "passwords are masked and nothing else");
    return 0;
}
