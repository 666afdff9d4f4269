// The look-up that the record caches share: an ID that is not cached yet is read once, and a successful read puts a
// copy into the cache by itself.
#pragma once

#include <map>
#include <memory>

// The cached record `id`, reading it on first use; empty when it cannot be read or there is no cache. `arguments`
// follow the ID in the record's reading constructor.
template <class Record, class... Arguments>
std::shared_ptr<Record> cached_or_read(const std::map<long, std::shared_ptr<Record>>* cache, long id,
                                       Arguments... arguments) {
    if (cache == nullptr) return nullptr;
    auto found = cache->find(id);
    if (found == cache->end()) {
        const Record read(id, arguments...);
        found = cache->find(id);
    }
    return found == cache->end() ? nullptr : found->second;
}
