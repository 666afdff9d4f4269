#include "m2m/datagrams/datagramreader.h"

#include <cstring>

#include "cbase/logging.h"
#include "cbase/numbers.h"
#include "m2m/datagrams/passwordmask.h"

const ParsedText* ParsedText::current = nullptr;

ParsedText::ParsedText(const std::string& text) : text_(text), root_(json_loads(text.c_str(), 0, nullptr)) {
    current = this;
}

ParsedText::~ParsedText() {
    current = nullptr;
}

Json ParsedText::share(const std::string& text) {
    if (current == nullptr || !current->root_ || text != current->text_) return nullptr;
    return Json(json_incref(current->root_.get()));
}

bool number_of(const json_t* value, long& number) {
    if (json_is_integer(value)) {
        number = to_32bit_range(json_integer_value(value));
    } else if (json_is_string(value)) {
        number = to_number(json_string_value(value));
    } else {
        return false;
    }
    return true;
}

bool DatagramReader::load(std::size_t flags, LoadText wording) const {
    root_ = ParsedText::share(text_);
    if (!root_) root_.reset(json_loads(text_.c_str(), flags, &failure_));
    if (root_) {
        failure_.text[0] = '\0';
        return true;
    }
    const std::string masked = mask_passwords(text_);
    char* quoted = std::strstr(failure_.text, " near '");  // the loader's reason ends with a piece of the text
    if (quoted != nullptr && masked != text_) *quoted = '\0';
    if (wording == LoadText::withReason) {
        error("%s error loading the JSON <%s> with error: %s", unit_, masked.c_str(), failure_.text);
    } else {
        error("%s error loading the JSON <%s>", unit_, masked.c_str());
    }
    return false;
}

void DatagramReader::logBadTag(const char* key) const {
    error("%s error parsing tag <%s> with error: %s", unit_, key, failure_.text);
}

bool DatagramReader::readText(const json_t* object, const char* key, std::string& value) const {
    const json_t* found = json_object_get(object, key);
    if (!json_is_string(found)) {
        logBadTag(key);
        return false;
    }
    value = json_string_value(found);
    return true;
}

bool DatagramReader::readNumber(const json_t* object, const char* key, long& value) const {
    if (number_of(json_object_get(object, key), value)) return true;
    logBadTag(key);
    return false;
}

bool DatagramReader::readNumber(const char* key, int& value) const {
    long number = 0;
    if (!readNumber(root_.get(), key, number)) return false;
    value = static_cast<int>(number);
    return true;
}

bool DatagramReader::forEachEntry(const json_t* value, const std::function<void(const json_t*)>& use) {
    if (json_is_object(value)) {
        use(value);
        return true;
    }
    if (!json_is_array(value)) return false;
    for (std::size_t i = 0; i < json_array_size(value); ++i) use(json_array_get(value, i));
    return true;
}
