#include "common/linereader.h"

#include "common/text.h"

namespace lab {

void LineReader::fail(Parsed how) {
    if (state_ == Parsed::complete) state_ = how;
    rest_ = {};
}

std::string_view LineReader::take(size_t length) {
    const std::string_view value = rest_.substr(0, length);
    rest_.remove_prefix(length + 1);
    return value;
}

bool LineReader::begins_with(std::string_view tag) const {
    const std::string_view begin = rest_.substr(0, tag.size());
    return equal_ignoring_case(begin, tag.substr(0, begin.size()));
}

void LineReader::skip(std::string_view tag) {
    if (!begins_with(tag)) {
        fail(Parsed::malformed);
    } else if (rest_.size() < tag.size()) {
        fail(Parsed::incomplete);
    } else {
        rest_.remove_prefix(tag.size());
    }
}

std::string_view LineReader::line(std::string_view tag) {
    skip(tag);
    const size_t end = rest_.find('\n');
    if (end != std::string_view::npos) return take(end);
    fail(Parsed::incomplete);
    return {};
}

long LineReader::number(std::string_view tag, long most) {
    const auto value = to_number(line(tag));
    if (value && *value >= 0 && *value <= most) return *value;
    fail(Parsed::malformed);
    return 0;
}

std::string_view LineReader::block(size_t length) {
    if (rest_.size() > length && rest_[length] == '\n') return take(length);
    fail(rest_.size() > length ? Parsed::malformed : Parsed::incomplete);
    return {};
}

}  // namespace lab
