// SPDX-License-Identifier: MIT
#include "SharedCore/ClipboardItem.h"

#include <utility>

namespace velmorin {
namespace {

const QString contentName = QStringLiteral("content");
const QString timestampName = QStringLiteral("timestamp");
const QString appSourceName = QStringLiteral("appSource");
const QString isPinnedName = QStringLiteral("isPinned");

} // namespace

ClipboardItem::ClipboardItem(const QString& content, const std::optional<QString>& appSource,
                             const Clock& clock)
    : PersistentModel(BackingRecord(schema())) {
    setContent(content);
    setTimestamp(clock.now());
    setAppSource(appSource);
    setIsPinned(false);
}

ClipboardItem::ClipboardItem(BackingRecord record) : PersistentModel(std::move(record)) {}

const EntitySchema& ClipboardItem::schema() {
    static const EntitySchema schema{QStringLiteral("ClipboardItem"),
                                     {{contentName, AttributeType::string},
                                      {timestampName, AttributeType::date},
                                      {appSourceName, AttributeType::string, true},
                                      {isPinnedName, AttributeType::boolean}}};
    return schema;
}

QString ClipboardItem::content() const {
    return value(contentName).toString();
}

void ClipboardItem::setContent(const QString& content) {
    write(contentName, content);
}

QDateTime ClipboardItem::timestamp() const {
    return value(timestampName).toDateTime();
}

void ClipboardItem::setTimestamp(const QDateTime& timestamp) {
    write(timestampName, timestamp);
}

std::optional<QString> ClipboardItem::appSource() const {
    const QVariant source = value(appSourceName);
    return source.isValid() ? std::optional(source.toString()) : std::nullopt;
}

void ClipboardItem::setAppSource(const std::optional<QString>& appSource) {
    write(appSourceName, appSource ? QVariant(*appSource) : QVariant());
}

bool ClipboardItem::isPinned() const {
    return value(isPinnedName).toBool();
}

void ClipboardItem::setIsPinned(bool isPinned) {
    write(isPinnedName, isPinned);
}

QVariant ClipboardItem::appSourceValue() const {
    return value(appSourceName);
}

void ClipboardItem::setAppSourceValue(const QVariant& value) {
    setAppSource(value.isNull() ? std::nullopt : std::optional(value.toString()));
}

} // namespace velmorin
