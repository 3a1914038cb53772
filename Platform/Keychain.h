// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Status.h"

#include <QString>
#include <QVariantMap>

#include <optional>

namespace velmorin {

inline constexpr OSStatus errSecSuccess = noErr;
inline constexpr OSStatus errSecParam = -50;            ///< The query makes no sense.
inline constexpr OSStatus errSecNotAvailable = -25291;  ///< No service, a locked one, or too late.
inline constexpr OSStatus errSecDuplicateItem = -25299; ///< There is such an item already.
inline constexpr OSStatus errSecItemNotFound = -25300;  ///< There is no such item.

inline constexpr char kSecClass[] = "class";
inline constexpr char kSecClassGenericPassword[] = "genp"; ///< The one value of `kSecClass`.
inline constexpr char kSecAttrAccount[] = "acct";          ///< A QString.
inline constexpr char kSecAttrService[] = "svce";          ///< A QString.
inline constexpr char kSecValueData[] = "v_Data";          ///< A QByteArray, the secret.
inline constexpr char kSecReturnData[] = "r_Data";         ///< A bool, whether to give the secret.
inline constexpr char kSecMatchLimit[] = "m_Limit";
inline constexpr char kSecMatchLimitOne[] = "m_LimitOne"; ///< The one value of `kSecMatchLimit`.

/// The user's secrets: generic passwords, each identified by its service and account.
///
/// Every query names class, service and account; a service or account that holds a NUL or is no
/// valid Unicode is `errSecParam`. Any thread. Each call answers within a second, also when the
/// secrets are locked or their service hangs, and never asks the user for anything.
class Keychain {
public:
    virtual ~Keychain() = default;

    /// Adds an item with the secret `kSecValueData`; `errSecDuplicateItem` when there is one.
    [[nodiscard]] virtual OSStatus itemAdd(const QVariantMap& attributes) = 0;

    /// Looks for an item and, if `kSecReturnData` is true, copies its secret as a QByteArray into
    /// `result`, which is only changed on success.
    [[nodiscard]] virtual OSStatus itemCopyMatching(const QVariantMap& query, QVariant& result) = 0;

    /// Deletes the item. What `kSecValueData` says does not matter: one dictionary can serve the
    /// deletion of the old secret and the addition of the new one.
    virtual OSStatus itemDelete(const QVariantMap& query) = 0;
};

/// What identifies a generic password.
struct GenericPassword {
    QString service;
    QString account;
};

/// The password that `query` is about; none when that is `errSecParam`.
[[nodiscard]] inline std::optional<GenericPassword> genericPassword(const QVariantMap& query) {
    const QVariant service = query.value(kSecAttrService);
    const QVariant account = query.value(kSecAttrAccount);
    const auto isText = [](const QVariant& value) {
        return value.typeId() == QMetaType::QString && value.toString().isValidUtf16() &&
               !value.toString().contains(QChar::Null);
    };
    if (query.value(kSecClass) != QString(kSecClassGenericPassword) || !isText(service) ||
        !isText(account)) {
        return std::nullopt;
    }
    return GenericPassword{service.toString(), account.toString()};
}

} // namespace velmorin
