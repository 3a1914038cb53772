// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Keychain.h"

#include <QByteArray>
#include <QHash>
#include <QMutex>

#include <utility>
#include <vector>

namespace velmorin {

/// Secrets that live as long as the object, with a journal of the calls. Any thread; the public
/// fields are set before other threads call.
class MemoryKeychain final : public Keychain {
public:
    enum class Operation { add, copyMatching, remove };

    struct Call {
        Operation operation;
        QVariantMap query;

        bool operator==(const Call&) const = default;
    };

    [[nodiscard]] OSStatus itemAdd(const QVariantMap& attributes) override {
        const QMutexLocker lock(&m_mutex);
        m_journal.push_back({Operation::add, attributes});
        const auto password = genericPassword(attributes);
        const QVariant secret = attributes.value(kSecValueData);
        if (addStatus != errSecSuccess) {
            return addStatus;
        }
        if (!password || secret.typeId() != QMetaType::QByteArray) {
            return errSecParam;
        }
        if (m_secrets.contains(key(*password))) {
            return errSecDuplicateItem;
        }
        m_secrets.insert(key(*password), secret.toByteArray());
        return errSecSuccess;
    }

    [[nodiscard]] OSStatus itemCopyMatching(const QVariantMap& query, QVariant& result) override {
        const QMutexLocker lock(&m_mutex);
        m_journal.push_back({Operation::copyMatching, query});
        const auto password = genericPassword(query);
        if (copyStatus != errSecSuccess) {
            return copyStatus;
        }
        if (!password) {
            return errSecParam;
        }
        const auto found = m_secrets.constFind(key(*password));
        if (found == m_secrets.constEnd()) {
            return errSecItemNotFound;
        }
        if (query.value(kSecReturnData).toBool()) {
            result = copyResult.value_or(*found);
        }
        return errSecSuccess;
    }

    OSStatus itemDelete(const QVariantMap& query) override {
        const QMutexLocker lock(&m_mutex);
        m_journal.push_back({Operation::remove, query});
        const auto password = genericPassword(query);
        if (deleteStatus != errSecSuccess) {
            return deleteStatus;
        }
        if (!password) {
            return errSecParam;
        }
        return m_secrets.remove(key(*password)) ? errSecSuccess : errSecItemNotFound;
    }

    /// The calls, oldest first.
    [[nodiscard]] std::vector<Call> journal() const {
        const QMutexLocker lock(&m_mutex);
        return m_journal;
    }

    OSStatus addStatus = errSecSuccess;  ///< What `itemAdd()` answers; an error adds nothing.
    OSStatus copyStatus = errSecSuccess; ///< What `itemCopyMatching()` answers.
    OSStatus deleteStatus =
        errSecSuccess;                  ///< What `itemDelete()` answers; an error deletes nothing.
    std::optional<QVariant> copyResult; ///< What is copied instead of the secret.

private:
    using Key = std::pair<QString, QString>;

    [[nodiscard]] static Key key(const GenericPassword& password) {
        return {password.service, password.account};
    }

    mutable QMutex m_mutex;
    QHash<Key, QByteArray> m_secrets;
    std::vector<Call> m_journal;
};

} // namespace velmorin
