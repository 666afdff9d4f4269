// The list of object IDs that several requests carry. It does not exist until an ID or a list is set: a request whose
// list is missing is told from one with a list.
#pragma once

#include <jansson.h>

#include <list>
#include <memory>

class ObjectIdList {
  public:
    ObjectIdList() = default;
    ObjectIdList(const ObjectIdList& other) { set(other.get()); }
    ObjectIdList& operator=(const ObjectIdList& other) {
        set(other.get());
        return *this;
    }
    ~ObjectIdList() = default;

    // The list, or null; owned by this object.
    const std::list<long>* get() const { return ids_.get(); }
    // Copies a list; null stores none.
    void set(const std::list<long>* ids) { ids_ = ids == nullptr ? nullptr : std::make_unique<std::list<long>>(*ids); }
    // Appends one ID, making the list on first use.
    void append(long id) {
        if (!ids_) ids_ = std::make_unique<std::list<long>>();
        ids_->push_back(id);
    }
    // Adds "object_ids" to `object` when there is a list; failures are logged with `unit`.
    void encode(json_t* object, const char* unit) const;

  private:
    std::unique_ptr<std::list<long>> ids_;
};
