// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/UserDefaults.h"

#include <memory>

namespace velmorin {

/// Preferences in one SQLite file a domain, in write-ahead mode. Any thread.
///
/// No call waits longer than half a second for another process. What cannot be written now is kept
/// in memory, for every object on the same file, and tried again with each later call.
class SqliteUserDefaults final : public UserDefaults {
public:
    /// The file and its directory are made when they are first needed, for the user alone.
    explicit SqliteUserDefaults(const QString& filePath);
    ~SqliteUserDefaults() override;
    Q_DISABLE_COPY_MOVE(SqliteUserDefaults)

    /// Where the preferences called `domain` are kept: "standard" is the program's own.
    [[nodiscard]] static QString domainPath(const QString& domain);

    [[nodiscard]] QVariant object(const QString& key) const override;
    void set(const QString& key, const QVariant& value) override;
    void removeObject(const QString& key) override;

private:
    class Store;
    std::unique_ptr<Store> m_store;
};

} // namespace velmorin
