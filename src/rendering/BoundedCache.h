#pragma once

#include <cstddef>
#include <unordered_map>

namespace orvane {

// A dictionary that is emptied whole when an insert finds it at its bound; there is no per-entry
// eviction. A bound of 0 means never emptied. Not locked: the owner's lock guards it.
template <class Key, class Value, class Hash>
class BoundedCache {
public:
    explicit BoundedCache(std::size_t emptyAt = 0)
        : m_emptyAt(emptyAt) {}

    const Value* find(const Key& key) const {
        const auto it = m_entries.find(key);
        return it == m_entries.end() ? nullptr : &it->second;
    }
    void insert(const Key& key, Value value) {
        if (m_emptyAt > 0 && m_entries.size() >= m_emptyAt)
            m_entries.clear();
        m_entries.insert_or_assign(key, std::move(value));
    }
    std::size_t size() const { return m_entries.size(); }
    std::size_t bound() const { return m_emptyAt; }
    void clear() { m_entries.clear(); }

private:
    std::size_t m_emptyAt;
    std::unordered_map<Key, Value, Hash> m_entries;
};

} // namespace orvane
