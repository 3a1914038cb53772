// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Keychain.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace velmorin {

inline QVariantMap passwordQuery(const QVariant& service, const QVariant& account) {
    return {{kSecClass, kSecClassGenericPassword},
            {kSecAttrService, service},
            {kSecAttrAccount, account}};
}

inline QVariantMap with(QVariantMap query, const char* name, const QVariant& value) {
    query.insert(name, value);
    return query;
}

/// What every implementation of Keychain owes. `Port` has `keychain()`, empty at first.
template <typename Port>
class KeychainContract : public testing::Test {
protected:
    OSStatus add(const QVariantMap& query, const QByteArray& secret) {
        return m_port.keychain().itemAdd(with(query, kSecValueData, secret));
    }
    OSStatus remove(const QVariantMap& query) { return m_port.keychain().itemDelete(query); }

    /// The secret, or the status in digits.
    QByteArray find(const QVariantMap& query) {
        QVariant result = QStringLiteral("unchanged");
        const OSStatus status =
            m_port.keychain().itemCopyMatching(with(query, kSecReturnData, true), result);
        if (status != errSecSuccess) {
            EXPECT_EQ(result, QStringLiteral("unchanged"));
            return QByteArray::number(status);
        }
        EXPECT_EQ(result.typeId(), QMetaType::QByteArray);
        return result.toByteArray();
    }
    Keychain& keychain() { return m_port.keychain(); }

    const QVariantMap password = passwordQuery("service", "account");

private:
    Port m_port;
};
TYPED_TEST_SUITE_P(KeychainContract);

TYPED_TEST_P(KeychainContract, keepsSecretsByServiceAndAccount) {
    const struct {
        QString service, account;
        QByteArray secret;
    } items[] = {
        {"service", "account", "secret"},
        {"service", "Account", ""},
        {"account", "service", QByteArray("\0\xff\n\0", 4)},
        {"", "", "\xef\xbb\xbf\xd8\xb3"},
        {QStringLiteral("خدمة \U0001F600 \t\n%'\""), "", QByteArray(100'000, 'x')},
    };
    for (const auto& [service, account, secret] : items) {
        EXPECT_EQ(this->add(passwordQuery(service, account), secret), errSecSuccess);
    }
    for (const auto& [service, account, secret] : items) {
        EXPECT_EQ(this->find(passwordQuery(service, account)), secret);
    }
    for (const auto& [service, account, secret] : items) {
        EXPECT_EQ(this->remove(passwordQuery(service, account)), errSecSuccess);
        EXPECT_EQ(this->find(passwordQuery(service, account)), "-25300");
    }
}

TYPED_TEST_P(KeychainContract, keepsOneSecretUntilItIsDeleted) {
    EXPECT_EQ(this->add(this->password, "old"), errSecSuccess);
    EXPECT_EQ(this->add(this->password, "new"), errSecDuplicateItem);
    EXPECT_EQ(this->find(this->password), "old");
    QVariant result = 1; // the secret comes on request only
    EXPECT_EQ(this->keychain().itemCopyMatching(this->password, result), errSecSuccess);
    EXPECT_EQ(result, 1);
    // Whatever the secret is:
    EXPECT_EQ(this->remove(with(this->password, kSecValueData, QByteArray("new"))), errSecSuccess);
    EXPECT_EQ(this->remove(this->password), errSecItemNotFound);
}

TYPED_TEST_P(KeychainContract, refusesQueriesThatMakeNoSense) {
    const QVariantMap queries[] = {
        {},
        with(this->password, kSecClass, "inet"),
        passwordQuery(QVariant(), "account"),
        passwordQuery("service", QByteArray("account")),
        passwordQuery(QString(QChar::Null), "account"),
        passwordQuery("service", QString(QChar(0xd800))),
    };
    for (const QVariantMap& query : queries) {
        EXPECT_EQ(this->add(query, "secret"), errSecParam);
        EXPECT_EQ(this->find(query), "-50");
        EXPECT_EQ(this->remove(query), errSecParam);
    }
    EXPECT_EQ(this->keychain().itemAdd(this->password), errSecParam); // no secret
    EXPECT_EQ(this->keychain().itemAdd(with(this->password, kSecValueData, "text")), errSecParam);
}

TYPED_TEST_P(KeychainContract, servesThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([this, own = passwordQuery(QString::number(i), "a")] {
            EXPECT_EQ(this->add(own, "secret"), errSecSuccess);
            EXPECT_EQ(this->find(own), "secret");
            EXPECT_EQ(this->remove(own), errSecSuccess);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

REGISTER_TYPED_TEST_SUITE_P(KeychainContract, keepsSecretsByServiceAndAccount,
                            keepsOneSecretUntilItIsDeleted, refusesQueriesThatMakeNoSense,
                            servesThreads);

} // namespace velmorin
