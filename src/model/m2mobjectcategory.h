// The category of an object (light, shutter, ...): a row of KOVA_WEB_OBJECT_CATEGORY, read once and kept for the life
// of the process.
#pragma once

#include <jansson.h>

#include <map>
#include <memory>
#include <string>

class M2MObjectCategory {
  public:
    using Cache = std::map<long, std::shared_ptr<M2MObjectCategory>>;

    M2MObjectCategory() = default;
    // Reads the category from the database; on success a copy is in the cache.
    explicit M2MObjectCategory(long id);
    explicit M2MObjectCategory(const M2MObjectCategory* other) { copyAllAttributes(other); }
    // Copies every field; null changes nothing.
    void copyAllAttributes(const M2MObjectCategory* other);

    // The cached category, read on first use; empty when it is unknown or the cache is gone.
    static std::shared_ptr<M2MObjectCategory> getNewObjectCategory(long id);
    // Drops the cache; nothing is found afterwards.
    static void deleteCache();

    // 0; after logging 13 (database), or 10 when there is no such row or it has no ID.
    int readFromDB(long id);

    long getID() const { return id_; }
    void setID(long id) { id_ = id; }
    std::string getType() const { return type_; }
    void setType(std::string type) { type_ = std::move(type); }
    std::string getDescription() const { return description_; }
    // Stores the description. One that holds the theme marker loses as many characters at its start as the marker has,
    // wherever the marker stands.
    void setDescription(std::string description);

    // New JSON string of the description, owned by the caller; null when it is not valid UTF-8.
    json_t* encodeJSON() const;

  private:
    static std::unique_ptr<Cache> cachedCategoryList;

    long id_ = -1;
    std::string type_;
    std::string description_;
};
