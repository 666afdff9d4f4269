// Reads the keys of a received datagram; what is missing or mistyped is logged in the words of the class that reads.
#pragma once

#include <jansson.h>

#include <functional>
#include <string>

#include "cbase/jsontext.h"

// Up to three classes read the same received text one after the other. While an object of this class lives, readers of
// its text share one parse. It borrows the text.
class ParsedText {
  public:
    explicit ParsedText(const std::string& text);
    ParsedText(const ParsedText&) = delete;
    ParsedText& operator=(const ParsedText&) = delete;
    ~ParsedText();

    // The JSON of `text` when it is the text of the living object and well-formed, as a reference of its own; else
    // null.
    static Json share(const std::string& text);

  private:
    static const ParsedText* current;

    const std::string& text_;
    Json root_;
};

class DatagramReader {
  public:
    // Whether the text of a failed load ends with the loader's reason.
    enum class LoadText { plain, withReason };

    // Reads `text`, which must outlive the reader; log lines begin with `unit`.
    DatagramReader(const std::string& text, const char* unit) : text_(text), unit_(unit) {}

    // Loads the text with the loader's `flags`. False after logging when it is not JSON.
    bool load(std::size_t flags, LoadText wording) const;

    // The key's value, borrowed; null when it is missing.
    json_t* member(const char* key) const { return json_object_get(root_.get(), key); }

    // Each stores the key's value, or logs "error parsing tag", leaves `value` as it is and returns false.
    bool readText(const char* key, std::string& value) const { return readText(root_.get(), key, value); }
    bool readNumber(const char* key, int& value) const;
    // The same for a key of `object`, a part of the datagram.
    bool readText(const json_t* object, const char* key, std::string& value) const;
    bool readNumber(const json_t* object, const char* key, long& value) const;

    // Calls `use` for each element of an array, or once for a single object. False when `value` is neither.
    static bool forEachEntry(const json_t* value, const std::function<void(const json_t*)>& use);

    // Logs "`unit` error parsing tag <`key`> with error: ..." with the loader's text, which is empty after a good load.
    void logBadTag(const char* key) const;

  private:
    const std::string& text_;
    const char* unit_;
    mutable Json root_;
    mutable json_error_t failure_{};
};

// A JSON integer, or a JSON string read as a decimal number (leading digits, 0 without any), within 32 bits. False when
// it is neither.
bool number_of(const json_t* value, long& number);
