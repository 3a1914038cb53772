// SPDX-License-Identifier: MIT
#pragma once

#include "SharedCore/StorageManager.h"

namespace velmorin {

/// Base of a record of settings, which is stored whole under one key. `Record` is JSON-codable and
/// has `static QString settingsKey()` and `static Record defaultSettings()`.
template <typename Record>
class AppSettings {
public:
    /// The stored record; the defaults when there is none that can be used. Stores nothing.
    [[nodiscard]] static Record load(const StorageManager& storage = StorageManager::shared()) {
        static_assert(JsonCodable<Record>);
        const std::optional<Record> stored = storage.get<Record>(Record::settingsKey());
        return stored ? *stored : Record::defaultSettings();
    }

    void save(StorageManager& storage = StorageManager::shared()) const {
        storage.set(static_cast<const Record&>(*this), Record::settingsKey());
    }

    bool operator==(const AppSettings&) const = default;
};

} // namespace velmorin
