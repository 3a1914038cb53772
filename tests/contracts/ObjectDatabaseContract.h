// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ObjectDatabase.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QTimeZone>

#include <cmath>
#include <limits>
#include <memory>

namespace velmorin {

inline const EntitySchema thingSchema{QStringLiteral("Thing \"1\""),
                                      {{QStringLiteral("text"), AttributeType::string, true},
                                       {QStringLiteral("flag"), AttributeType::boolean},
                                       {QStringLiteral("order"), AttributeType::integer64},
                                       {QStringLiteral("real"), AttributeType::real},
                                       {QStringLiteral("date"), AttributeType::date, true}}};

inline QVariantMap thing(qint64 order, const QVariant& text = {}) {
    return {{QStringLiteral("text"), text},
            {QStringLiteral("flag"), true},
            {QStringLiteral("order"), order},
            {QStringLiteral("real"), 0.5}};
}

/// What every implementation of ObjectDatabase owes. `Port` has `connect()`, which gives a further
/// connection to the same tables.
template <typename Port>
class ObjectDatabaseContract : public testing::Test {
protected:
    std::unique_ptr<ObjectDatabase> connect() {
        auto database = m_port.connect();
        EXPECT_TRUE(database->createTable(thingSchema));
        return database;
    }
    static qint64 count(ObjectDatabase& database) {
        const auto rows = database.rows(thingSchema);
        return rows ? rows->size() : -1;
    }

private:
    Port m_port;
};
TYPED_TEST_SUITE_P(ObjectDatabaseContract);

TYPED_TEST_P(ObjectDatabaseContract, keepsValuesAndTypes) {
    const auto database = this->connect();
    const QDateTime zoned(QDate(2024, 2, 29), QTime(1, 2, 3, 987), QTimeZone(19800));
    const std::pair<const char*, QVariant> cases[] = {
        {"text", QVariant()},
        {"text", QString()},
        {"text", QStringLiteral("اثممخ \U0001F600 'x';--")},
        {"text", QString(QChar(0xfeff)) + QChar(0) + QChar(0xffff)},
        {"text", QStringLiteral("half ") + QChar(0xd83d)},
        {"text", QString(300'000, u'x')},
        {"order", std::numeric_limits<qint64>::min()},
        {"real", 3.0},
        {"real", -std::numeric_limits<double>::infinity()},
        {"date", zoned},
        {"date", QDateTime::fromMSecsSinceEpoch(-1, Qt::UTC)},
        {"date", QDateTime(QDate(-4000, 1, 1), QTime(0, 0), Qt::UTC)},
    };
    for (const auto& [name, value] : cases) {
        const QString column = QString::fromLatin1(name);
        const auto row = database->insert(thingSchema, thing(1));
        ASSERT_TRUE(row);
        ASSERT_TRUE(database->update(thingSchema, {*row, {{column, value}}})) << name;
        const auto found = this->connect()->select(thingSchema, {.row = row});
        ASSERT_TRUE(found && found->size() == 1) << name;
        const QVariantMap values = found->first().values;
        EXPECT_EQ(values.value(column).typeId(), value.typeId()) << name;
        EXPECT_TRUE(values.value(column) == value) << name;
        EXPECT_NE(values.value(QStringLiteral("date")).toDateTime().timeSpec(), Qt::OffsetFromUTC);
    }
}

TYPED_TEST_P(ObjectDatabaseContract, refusesWhatItCannotGiveBack) {
    const auto database = this->connect();
    const auto row = database->insert(thingSchema, thing(1));
    ASSERT_TRUE(row);
    const QVariantMap refused{{QStringLiteral("order"), QStringLiteral("secret")},
                              {QStringLiteral("flag"), QVariant()},
                              {QStringLiteral("real"), std::nan("")},
                              {QStringLiteral("date"), QDateTime()},
                              {QStringLiteral("secret"), 1}};
    for (auto entry = refused.begin(); entry != refused.end(); ++entry) {
        QVariantMap whole = thing(2);
        whole.insert(entry.key(), entry.value());
        EXPECT_FALSE(database->insert(thingSchema, whole)) << qPrintable(entry.key());
        EXPECT_FALSE(database->update(thingSchema, {*row, {{entry.key(), entry.value()}}}));
        EXPECT_FALSE(database->select(
            thingSchema, {.conditions = {{.attribute = entry.key(), .value = entry.value()}}}));
        EXPECT_FALSE(database->lastError().isEmpty());
    }
    EXPECT_FALSE(database->insert(thingSchema, {}));
    EXPECT_FALSE(database->select(thingSchema, {.orders = {{QStringLiteral("secret")}}}));
    EXPECT_EQ(this->count(*database), 1);
    EntitySchema other = thingSchema;
    other.attributes.removeLast();
    EXPECT_FALSE(database->createTable(other));
}

TYPED_TEST_P(ObjectDatabaseContract, selectsAndSorts) {
    using enum ObjectQuery::Comparison;
    const auto database = this->connect();
    const QString text = QStringLiteral("text");
    const QString order = QStringLiteral("order");
    for (const auto& [number, value] :
         {std::pair{3, QVariant(QStringLiteral("b"))}, std::pair{1, QVariant()},
          std::pair{2, QVariant(QStringLiteral("b"))},
          std::pair{4, QVariant(QStringLiteral("a"))}}) {
        ASSERT_TRUE(database->insert(thingSchema, thing(number, value)));
    }
    const std::pair<ObjectQuery, QList<qint64>> cases[] = {
        {{}, {3, 1, 2, 4}},
        {{.row = 2}, {1}},
        {{.row = 9}, {}},
        {{.orders = {{order}}, .limit = 2}, {1, 2}},
        {{.orders = {{text}}}, {1, 4, 3, 2}},
        {{.orders = {{text, true}, {order}}}, {2, 3, 4, 1}},
        {{.conditions = {{text, equal, QVariant()}}}, {1}},
        {{.conditions = {{text, less, QVariant()}}}, {}},
        {{.conditions = {{text, less, QStringLiteral("b")}}}, {4}},
        {{.conditions = {{text, equal, QStringLiteral("b")}, {order, greaterOrEqual, qint64{3}}}},
         {3}},
    };
    for (const auto& [query, orders] : cases) {
        const auto found = database->select(thingSchema, query);
        ASSERT_TRUE(found);
        QList<qint64> numbers;
        for (const ObjectRow& row : *found) {
            numbers.append(row.values.value(order).toLongLong());
        }
        EXPECT_EQ(numbers, orders) << numbers.size();
    }
}

TYPED_TEST_P(ObjectDatabaseContract, transactionIsWholeOrNothing) {
    const auto database = this->connect();
    const auto other = this->connect();
    const auto before = other->dataVersion();
    ASSERT_TRUE(database->begin());
    const auto first = database->insert(thingSchema, thing(1));
    ASSERT_TRUE(first);
    database->rollback();
    database->rollback();
    EXPECT_EQ(this->count(*database), 0);
    EXPECT_EQ(other->dataVersion(), before);
    const auto own = database->dataVersion();
    ASSERT_TRUE(database->begin());
    EXPECT_TRUE(database->insert(thingSchema, thing(1)));
    EXPECT_TRUE(database->commit());
    EXPECT_EQ(this->count(*other), 1);
    EXPECT_EQ(database->dataVersion(), own);
    EXPECT_NE(other->dataVersion(), before);
}

TYPED_TEST_P(ObjectDatabaseContract, identityIsNeverGivenTwice) {
    const auto database = this->connect();
    const auto first = database->insert(thingSchema, thing(1));
    ASSERT_TRUE(first);
    EXPECT_TRUE(database->remove(thingSchema, *first));
    EXPECT_TRUE(database->remove(thingSchema, *first));
    EXPECT_TRUE(database->update(thingSchema, {*first, thing(2)}));
    const auto second = this->connect()->insert(thingSchema, thing(1));
    EXPECT_GT(second, first);
}

REGISTER_TYPED_TEST_SUITE_P(ObjectDatabaseContract, keepsValuesAndTypes,
                            refusesWhatItCannotGiveBack, selectsAndSorts,
                            transactionIsWholeOrNothing, identityIsNeverGivenTwice);

} // namespace velmorin
