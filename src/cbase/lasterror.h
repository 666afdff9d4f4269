// The last error of an object that can fail: at most 255 characters, null until something failed.
#pragma once

#include <array>
#include <cstdarg>
#include <cstdio>
#include <optional>
#include <string>

class LastError {
  public:
    // Formats a new text in place of the old one; a null format changes nothing.
    [[gnu::format(printf, 2, 0)]] void set(const char* format, va_list arguments) {
        if (format == nullptr) return;
        std::array<char, 256> buffer{};
        std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
        text_ = buffer.data();
    }
    // The text, owned by this object, or null.
    const char* get() const { return text_ ? text_->c_str() : nullptr; }

  private:
    std::optional<std::string> text_;
};
