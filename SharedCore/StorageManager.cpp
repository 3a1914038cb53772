// SPDX-License-Identifier: MIT
#include "SharedCore/StorageManager.h"

#include "Platform/Platform.h"

#include <QStringDecoder>

#include <utility>

namespace velmorin {

namespace {

constexpr char kApplicationGroup[] = "group.org.velmorin.shared";

QVariantMap passwordQuery(const QString& account, const QString& service) {
    return {{kSecClass, kSecClassGenericPassword},
            {kSecAttrAccount, account},
            {kSecAttrService, service}};
}

std::optional<QString> textFromUtf8(const QByteArray& bytes) {
    // A leading byte order mark is part of the text, and half a character at its end an error.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom |
                                                     QStringDecoder::Flag::Stateless);
    const QString text = decoder(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(text);
}

} // namespace

StorageManager::StorageManager(std::shared_ptr<UserDefaults> defaults,
                               std::shared_ptr<Keychain> keychain, SuiteOpener openSuite)
    : m_defaults(std::move(defaults)), m_keychain(std::move(keychain)),
      m_openSuite(std::move(openSuite)) {}

StorageManager& StorageManager::shared() {
    return *Platform::sharedInstance<StorageManager>([](const Platform& platform) {
        return std::make_shared<StorageManager>(platform.standardUserDefaults, platform.keychain,
                                                platform.userDefaultsSuite);
    });
}

void StorageManager::set(const QVariant& value, const QString& key) {
    m_defaults->set(key, value);
}

QVariant StorageManager::get(const QString& key) const {
    return m_defaults->object(key);
}

void StorageManager::remove(const QString& key) {
    m_defaults->removeObject(key);
}

bool StorageManager::saveToKeychain(const QString& value, const QString& account,
                                    const QString& service) {
    if (!value.isValidUtf16()) {
        return false;
    }
    QVariantMap item = passwordQuery(account, service);
    item.insert(kSecValueData, value.toUtf8());
    m_keychain->itemDelete(item); // the value in it does no harm: one dictionary serves both calls
    return m_keychain->itemAdd(item) == errSecSuccess;
}

std::optional<QString> StorageManager::readFromKeychain(const QString& account,
                                                        const QString& service) const {
    QVariantMap query = passwordQuery(account, service);
    query.insert(kSecReturnData, true);
    query.insert(kSecMatchLimit, kSecMatchLimitOne);
    QVariant secret;
    if (m_keychain->itemCopyMatching(query, secret) != errSecSuccess ||
        secret.typeId() != QMetaType::QByteArray) {
        return std::nullopt;
    }
    return textFromUtf8(secret.toByteArray());
}

bool StorageManager::deleteFromKeychain(const QString& account, const QString& service) {
    return m_keychain->itemDelete(passwordQuery(account, service)) == errSecSuccess;
}

std::shared_ptr<UserDefaults> StorageManager::sharedDefaults() const {
    return m_openSuite(kApplicationGroup);
}

} // namespace velmorin
