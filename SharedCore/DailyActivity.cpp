// SPDX-License-Identifier: MIT
#include "SharedCore/DailyActivity.h"

#include <utility>

namespace velmorin {
namespace {

const QString dateName = QStringLiteral("date");
const QString mouseDistanceName = QStringLiteral("mouseDistance");
const QString keystrokesName = QStringLiteral("keystrokes");
const QString activeTimeName = QStringLiteral("activeTime");

} // namespace

DailyActivity::DailyActivity(const QDateTime& date) : PersistentModel(BackingRecord(schema())) {
    setDate(date);
    setMouseDistance(0.0);
    setKeystrokes(0);
    setActiveTime(0.0);
}

DailyActivity::DailyActivity(BackingRecord record) : PersistentModel(std::move(record)) {}

const EntitySchema& DailyActivity::schema() {
    static const EntitySchema schema{QStringLiteral("DailyActivity"),
                                     {{dateName, AttributeType::date},
                                      {mouseDistanceName, AttributeType::real},
                                      {keystrokesName, AttributeType::integer64},
                                      {activeTimeName, AttributeType::real}}};
    return schema;
}

QDateTime DailyActivity::date() const {
    return value(dateName).toDateTime();
}

void DailyActivity::setDate(const QDateTime& date) {
    write(dateName, date);
}

double DailyActivity::mouseDistance() const {
    return value(mouseDistanceName).toDouble();
}

void DailyActivity::setMouseDistance(double mouseDistance) {
    write(mouseDistanceName, mouseDistance);
}

qint64 DailyActivity::keystrokes() const {
    return value(keystrokesName).toLongLong();
}

void DailyActivity::setKeystrokes(qint64 keystrokes) {
    write(keystrokesName, keystrokes);
}

double DailyActivity::activeTime() const {
    return value(activeTimeName).toDouble();
}

void DailyActivity::setActiveTime(double activeTime) {
    write(activeTimeName, activeTime);
}

} // namespace velmorin
