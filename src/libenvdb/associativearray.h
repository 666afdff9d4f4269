// One row of an answer of the DB manager: named values in the order in which they arrived. Look-ups compare whole
// names, case-sensitive, one after the other: rows have a handful of columns.
#pragma once

#include <string>
#include <vector>

namespace libenvdb {

template <class T>
class AssociativeArray {
  public:
    // One item: the value and, beside it, its key.
    struct _Data {  // NOLINT(bugprone-reserved-identifier): the name that its users know
        T first{};
        std::string second;
    };

    // Appends the item. Returns 1, or 0 when the key is present already and nothing changes.
    int AddItem(const std::string& key, T value) {
        if (IsItem(key) != 0) return 0;
        items_.push_back({value, key});
        return 1;
    }
    // 1 when the key is present, else 0.
    int IsItem(const std::string& key) const { return find(key) == nullptr ? 0 : 1; }
    // The value of the key. A key that is not there is appended with an empty (null) value.
    T& operator[](const std::string& key) {
        if (const _Data* item = find(key)) return items_[static_cast<std::size_t>(item - items_.data())].first;
        items_.push_back({T{}, key});
        return items_.back().first;
    }
    // The value of the key, or an empty (null) one; never grows the array.
    T value(const std::string& key) const {
        const _Data* item = find(key);
        return item == nullptr ? T{} : item->first;
    }
    // Number of items.
    int Size() const { return static_cast<int>(items_.size()); }

    auto begin() const { return items_.begin(); }
    auto end() const { return items_.end(); }
    void reserve(std::size_t count) { items_.reserve(count); }

  private:
    const _Data* find(const std::string& key) const {
        for (const _Data& item : items_)
            if (item.second == key) return &item;
        return nullptr;
    }

    std::vector<_Data> items_;
};

}  // namespace libenvdb
