// SPDX-License-Identifier: MIT
#include "SharedCore/StorageManager.h"

#include "Platform/Memory/MemoryKeychain.h"
#include "Platform/Memory/MemoryUserDefaults.h"

#include <gtest/gtest.h>

#include <QTimeZone>

#include <cmath>
#include <limits>

namespace velmorin {
namespace {

using Operation = MemoryKeychain::Operation;

const QString key = QStringLiteral("key");
const QString account = QStringLiteral("account");
const QString service = QStringLiteral("service");
const QString loneSurrogate = QString(QChar(0xd800));

class StorageManagerTest : public testing::Test {
protected:
    std::optional<QByteArray> stored() const { return defaults->data(key); }

    void storeText(const QByteArray& text) { defaults->set(key, text); }

    const std::shared_ptr<MemoryUserDefaults> defaults = std::make_shared<MemoryUserDefaults>();
    const std::shared_ptr<MemoryKeychain> keychain = std::make_shared<MemoryKeychain>();
    QStringList openedSuites;
    std::shared_ptr<UserDefaults> suite;
    StorageManager storage{defaults, keychain, [this](const QString& name) {
                               openedSuites.append(name);
                               return suite;
                           }};
};

/// Stores `value` and expects to find `text`, and the same value again.
template <typename T>
void expectText(const T& value, const char* text) {
    const auto defaults = std::make_shared<MemoryUserDefaults>();
    StorageManager storage(defaults, nullptr, nullptr);
    storage.set(value, key);
    EXPECT_EQ(defaults->data(key), std::optional<QByteArray>(text));
    EXPECT_EQ(storage.get<T>(key), value) << text;
}

TEST(StorageManagerJson, writesAndReadsValues) {
    expectText(true, "true");
    expectText(5, "5");
    expectText(std::numeric_limits<qint64>::max(), "9223372036854775807");
    expectText(std::numeric_limits<qint64>::min(), "-9223372036854775808");
    expectText(0.1, "0.1");
    expectText(1e300, "1e+300");
    expectText(QStringLiteral("\ufeffس\"\U0001F600"), "\"\ufeffس\\\"\U0001F600\"");
    expectText(QString(QChar::Null), "\"\\u0000\"");
    expectText(QByteArray("\0\xff", 2), "\"AP8=\"");
    expectText(QDateTime(QDate(2001, 1, 1), QTime(1, 0), QTimeZone(3600)), "0");
    expectText(QDateTime(QDate(2024, 2, 29), QTime(9, 5, 3, 250), Qt::UTC), "730890303.25");
    expectText(QDateTime(QDate(2000, 12, 31), QTime(23, 59, 59, 999), Qt::UTC), "-0.001");
    expectText(QList<qint64>(), "[]");
    expectText(QMap<QString, QList<bool>>{{"b", {true, false}}, {"a", {}}},
               R"({"a":[],"b":[true,false]})");
}

TEST_F(StorageManagerTest, keepsTheOldValueWhenJsonCannotHoldTheNew) {
    storage.set(true, key);
    storage.set(std::nan(""), key);
    storage.set(std::numeric_limits<double>::infinity(), key);
    storage.set(QDateTime(), key);
    storage.set(loneSurrogate, key);
    storage.set(QList<QString>{loneSurrogate}, key);
    storage.set(QMap<QString, bool>{{loneSurrogate, true}}, key);
    EXPECT_EQ(stored(), "true");
}

TEST_F(StorageManagerTest, readsExactlyTheType) {
    // Which of bool, integer, double, string, bytes, date, list and map are read.
    const std::pair<const char*, std::string> cases[] = {
        {"true", "b"},           {"1", "idt"},     {"1.5", "dt"},      {"9223372036854775808", "d"},
        {"1e16", "id"},          {"1e400", ""},    {"\"1 \"", "s"},    {"\"AP8=\"", "sy"},
        {"\"\\ud800\"", ""},     {"\"\xff\"", ""}, {"[]", "l"},        {"[1]", "l"},
        {"[1,true]", ""},        {"{}", "m"},      {"{\"a\":1}", "m"}, {"{\"a\":1,\"b\":null}", ""},
        {"{\"\\udc00\":1}", ""}, {"null", ""},     {"", ""},           {"1,1", ""},
        {"1],[1", ""},           {"{\"a\":1", ""},
    };
    for (const auto& [text, expected] : cases) {
        storeText(text);
        std::string read;
        read += storage.get<bool>(key) ? "b" : "";
        read += storage.get<qint64>(key) ? "i" : "";
        read += storage.get<double>(key) ? "d" : "";
        read += storage.get<QString>(key) ? "s" : "";
        read += storage.get<QByteArray>(key) ? "y" : "";
        read += storage.get<QDateTime>(key) ? "t" : "";
        read += storage.get<QList<qint64>>(key) ? "l" : "";
        read += storage.get<QMap<QString, qint64>>(key) ? "m" : "";
        EXPECT_EQ(read, expected) << text;
    }
    storeText("4294967296");
    EXPECT_FALSE(storage.get<int>(key)); // does not fit
}

TEST_F(StorageManagerTest, untypedValuesPassThrough) {
    EXPECT_FALSE(storage.get<QString>(key));
    EXPECT_FALSE(storage.get(key).isValid());
    storage.set(QVariant(QStringLiteral("\"text\"")), key);
    EXPECT_EQ(storage.get(key), QStringLiteral("\"text\""));
    EXPECT_FALSE(storage.get<QString>(key)); // no data
    storage.remove(key);
    EXPECT_FALSE(storage.get(key).isValid());
}

TEST_F(StorageManagerTest, replacesSecrets) {
    const QVariantMap item{{kSecClass, kSecClassGenericPassword},
                           {kSecAttrAccount, account},
                           {kSecAttrService, service},
                           {kSecValueData, QByteArray("\xd8\xb3")}};
    EXPECT_TRUE(storage.saveToKeychain(QStringLiteral("old"), account, service));
    EXPECT_TRUE(storage.saveToKeychain(QStringLiteral("س"), account, service));
    EXPECT_EQ(storage.readFromKeychain(account, service), QStringLiteral("س"));
    const std::vector<MemoryKeychain::Call> expected{{Operation::remove, item},
                                                     {Operation::add, item},
                                                     {Operation::copyMatching,
                                                      {{kSecClass, kSecClassGenericPassword},
                                                       {kSecAttrAccount, account},
                                                       {kSecAttrService, service},
                                                       {kSecReturnData, true},
                                                       {kSecMatchLimit, kSecMatchLimitOne}}}};
    const auto journal = keychain->journal();
    EXPECT_EQ(std::vector(journal.begin() + 2, journal.end()), expected);
}

TEST_F(StorageManagerTest, savingAnswersWhatTheAdditionSays) {
    keychain->deleteStatus = errSecNotAvailable;
    EXPECT_TRUE(storage.saveToKeychain(QString(), account, service));
    EXPECT_EQ(storage.readFromKeychain(account, service), QString());
    EXPECT_FALSE(storage.saveToKeychain(QStringLiteral("new"), account, service)); // a duplicate
    keychain->deleteStatus = errSecSuccess;
    keychain->addStatus = errSecNotAvailable;
    EXPECT_FALSE(storage.saveToKeychain(QStringLiteral("new"), account, service));
    keychain->addStatus = errSecSuccess;
    EXPECT_TRUE(storage.saveToKeychain(QStringLiteral("old"), account, service));
    EXPECT_FALSE(storage.saveToKeychain(loneSurrogate, account, service)); // is no Unicode
    EXPECT_EQ(storage.readFromKeychain(account, service), QStringLiteral("old"));
    EXPECT_TRUE(storage.deleteFromKeychain(account, service));
    EXPECT_FALSE(storage.deleteFromKeychain(account, service));
}

TEST_F(StorageManagerTest, readsSecretsThatAreText) {
    EXPECT_FALSE(storage.readFromKeychain(account, service));
    EXPECT_TRUE(storage.saveToKeychain(QStringLiteral("old"), account, service));
    const QByteArray marked("\xef\xbb\xbf"
                            "a\0",
                            5);
    const std::pair<QVariant, std::optional<QString>> cases[] = {
        {marked, QStringLiteral("\ufeffa") + QChar::Null},
        {QByteArray("\xd8"), {}},
        {QByteArray("\xc0\x80"), {}},
        {QByteArray("\xed\xa0\x80"), {}},
        {QStringLiteral("text"), {}},
        {QVariant(), {}},
    };
    for (const auto& [copied, read] : cases) {
        keychain->copyResult = copied;
        EXPECT_EQ(storage.readFromKeychain(account, service), read) << copied.typeName();
    }
    keychain->copyResult.reset();
    keychain->copyStatus = errSecNotAvailable;
    EXPECT_FALSE(storage.readFromKeychain(account, service));
}

TEST_F(StorageManagerTest, opensTheSuiteOnEveryCall) {
    EXPECT_EQ(storage.sharedDefaults(), nullptr);
    suite = std::make_shared<MemoryUserDefaults>();
    EXPECT_EQ(storage.sharedDefaults(), suite);
    const QString name = QStringLiteral("group.org.velmorin.shared");
    EXPECT_EQ(openedSuites, QStringList({name, name}));
}

} // namespace
} // namespace velmorin
