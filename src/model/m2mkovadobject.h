// What every row of the controller's object table has in common: ID, type, the web-side class that manages it, and the
// options string. Base of the remotable objects, client browsers, runners, users and user groups.
#pragma once

#include <jansson.h>

#include <string>

// Text of a field that is not set, throughout the database.
inline constexpr const char* noValue = "NO-VALUE";

// Whether a stored text stands for "not set".
inline bool is_unset(const std::string& text) {
    return text.empty() || text == noValue;
}

// Name of the option that ties a runner and a client browser to their neighbour.
inline constexpr const char* neighbourIdOption = "neighbour_id";

class M2MKovadObject {
  public:
    M2MKovadObject() = default;
    // Copies the other object's attributes; null gives the defaults.
    explicit M2MKovadObject(const M2MKovadObject* other) { copyAllAttributes(other); }

    // Copies ID, type, PHP class and options; null changes nothing.
    void copyAllAttributes(const M2MKovadObject* other);

    // Row ID in the object table; negative when the object is not stored.
    long getID() const { return id_; }
    void setID(long id) { id_ = id; }
    // The options string: entries key=value joined by "|". Empty or "NO-VALUE" when there are none.
    std::string getOptional() const { return optional_; }
    void setOptional(std::string optional) { optional_ = std::move(optional); }
    std::string getType() const { return type_; }
    void setType(std::string type) { type_ = std::move(type); }
    std::string getPhpClass() const { return phpClass_; }
    void setPhpClass(std::string phpClass) { phpClass_ = std::move(phpClass); }

    // The value of the first option with this key, empty when there is none. Entries that are not exactly a key and a
    // value count as absent.
    std::string getOption(const std::string& key) const;
    // Replaces every option with this key, or appends one, and drops malformed entries. Neither text may hold "|" or
    // "=": there is no escaping.
    void setOption(const std::string& key, const std::string& value);

    // New JSON object {"id", "type"}, owned by the caller. A member that cannot be added is logged and ends it there.
    json_t* encodeJSON() const;

  private:
    long id_ = -1;
    std::string optional_;
    std::string type_;
    std::string phpClass_;
};
