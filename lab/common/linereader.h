// Reads requests and replies that are made of tagged lines and counted blocks, as far as they have come. Used by the
// parsers of both services' protocols.
#pragma once

#include <cstddef>
#include <string_view>

namespace lab {

enum class Parsed { incomplete, malformed, complete };

class LineReader {
  public:
    explicit LineReader(std::string_view text) : rest_(text) {}

    // Complete until something was missing or wrong, and then what it was first. Nothing is read after that.
    Parsed state() const { return state_; }
    // True as well when what has come is only the beginning of `tag`.
    bool begins_with(std::string_view tag) const;
    // Takes `tag`, in whatever case.
    void skip(std::string_view tag);
    // The rest of a line that begins with `tag`.
    std::string_view line(std::string_view tag);
    // The same as a number from 0 to `most`.
    long number(std::string_view tag, long most);
    // Exactly `length` bytes and a line feed.
    std::string_view block(size_t length);

  private:
    void fail(Parsed how);
    // Takes `length` bytes and the one after them, which is a line feed.
    std::string_view take(size_t length);

    std::string_view rest_;
    Parsed state_ = Parsed::complete;
};

}  // namespace lab
