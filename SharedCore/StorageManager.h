// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Keychain.h"
#include "Platform/UserDefaults.h"
#include "SharedCore/JsonCoding.h"

#include <QString>
#include <QVariant>

#include <functional>
#include <memory>
#include <optional>

namespace velmorin {

/// The one way to what outlives the process: the user's preferences, the secrets, and the
/// preferences that the maker's applications share.
///
/// Nothing is cached, and nothing fails aloud: what could not be done shows as none or false, and
/// what was stored before stays. Any thread.
class StorageManager {
public:
    /// Opens the preferences suite of that name; null when it cannot.
    using SuiteOpener = std::function<std::shared_ptr<UserDefaults>(const QString& suite)>;

    StorageManager(std::shared_ptr<UserDefaults> defaults, std::shared_ptr<Keychain> keychain,
                   SuiteOpener openSuite);

    /// The process's manager, created on first use.
    [[nodiscard]] static StorageManager& shared();

    /// Stores `value` as JSON text; does nothing when JSON cannot hold it.
    template <JsonCodable T>
    void set(const T& value, const QString& key) {
        if (const std::optional<QByteArray> text = jsonText(JsonCoder<T>::toJson(value))) {
            m_defaults->set(key, *text);
        }
    }

    /// The value that was stored as JSON text; none when what is there is no such text, or another
    /// type's.
    template <JsonCodable T>
    [[nodiscard]] std::optional<T> get(const QString& key) const {
        const std::optional<QByteArray> text = m_defaults->data(key);
        return text ? JsonCoder<T>::fromJson(jsonValue(*text)) : std::nullopt;
    }

    /// Stores a property-list value as it is.
    void set(const QVariant& value, const QString& key);
    /// What is stored, as it is; invalid when there is nothing.
    [[nodiscard]] QVariant get(const QString& key) const;
    void remove(const QString& key);

    /// Replaces the secret of (`service`, `account`). Returns whether it is stored.
    [[nodiscard]] bool saveToKeychain(const QString& value, const QString& account,
                                      const QString& service);
    [[nodiscard]] std::optional<QString> readFromKeychain(const QString& account,
                                                          const QString& service) const;
    /// False also when there was none.
    bool deleteFromKeychain(const QString& account, const QString& service);

    /// A new object on the preferences that the maker's applications share; null when they cannot
    /// be opened.
    [[nodiscard]] std::shared_ptr<UserDefaults> sharedDefaults() const;

private:
    const std::shared_ptr<UserDefaults> m_defaults;
    const std::shared_ptr<Keychain> m_keychain;
    const SuiteOpener m_openSuite;
};

} // namespace velmorin
