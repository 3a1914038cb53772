// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>

#include <utility>
#include <vector>

namespace velmorin {

/// A hash map whose iteration order is the order of insertion.
template <typename Key, typename Value>
class InsertionOrderedMap {
public:
    using Entry = std::pair<Key, Value>;

    /// Replaces the value of a key that is present; the key keeps its place in the order.
    void insertOrAssign(Key key, Value value) {
        if (const auto position = m_positions.constFind(key); position != m_positions.cend()) {
            m_entries[*position].second = value;
            return;
        }
        m_positions.insert(key, m_entries.size());
        m_entries.emplace_back(key, value);
    }

    /// Null when there is no such key.
    [[nodiscard]] const Value* find(const Key& key) const {
        const auto position = m_positions.constFind(key);
        return position == m_positions.cend() ? nullptr : &m_entries[*position].second;
    }

    [[nodiscard]] bool contains(const Key& key) const { return m_positions.contains(key); }
    [[nodiscard]] std::size_t size() const { return m_entries.size(); }
    [[nodiscard]] auto begin() const { return m_entries.cbegin(); }
    [[nodiscard]] auto end() const { return m_entries.cend(); }

private:
    std::vector<Entry> m_entries;
    QHash<Key, std::size_t> m_positions;
};

} // namespace velmorin
