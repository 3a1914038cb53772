// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Keychain.h"

#include <QByteArray>

namespace velmorin {

/// Secrets in the session's Secret Service (GNOME Keyring, KWallet, KeePassXC). Any thread.
///
/// An item has the attributes "service" and "account" and is of our own schema, so that the items
/// of other programs are never touched. New ones go to the default collection. Nothing is kept
/// between calls: the service may come, go and restart.
class SecretServiceKeychain final : public Keychain {
public:
    explicit SecretServiceKeychain(QByteArray busAddress = sessionBusAddress());

    /// The D-Bus address of the user's session; empty when there is none.
    [[nodiscard]] static QByteArray sessionBusAddress();

    [[nodiscard]] OSStatus itemAdd(const QVariantMap& attributes) override;
    [[nodiscard]] OSStatus itemCopyMatching(const QVariantMap& query, QVariant& result) override;
    OSStatus itemDelete(const QVariantMap& query) override;

private:
    const QByteArray m_busAddress;
};

} // namespace velmorin
