// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Clock.h"
#include "SharedCore/PersistentModel.h"

#include <QDateTime>

#include <optional>

namespace velmorin {

/// One captured clipboard text. Main thread.
class ClipboardItem final : public PersistentModel {
    Q_OBJECT
    Q_PROPERTY(QString content READ content WRITE setContent NOTIFY contentChanged)
    Q_PROPERTY(QDateTime timestamp READ timestamp WRITE setTimestamp NOTIFY timestampChanged)
    Q_PROPERTY(
        QVariant appSource READ appSourceValue WRITE setAppSourceValue NOTIFY appSourceChanged)
    Q_PROPERTY(bool isPinned READ isPinned WRITE setIsPinned NOTIFY isPinnedChanged)

public:
    /// A text captured now, not pinned. `appSource` is the application that it came from; none when
    /// that is unknown.
    ClipboardItem(const QString& content, const std::optional<QString>& appSource,
                  const Clock& clock);
    /// The object of a record of this entity.
    explicit ClipboardItem(BackingRecord record);

    [[nodiscard]] static const EntitySchema& schema();

    [[nodiscard]] QString content() const;
    void setContent(const QString& content);
    /// When it was captured; in UTC once it was read from a store. An invalid one cannot be stored.
    [[nodiscard]] QDateTime timestamp() const;
    void setTimestamp(const QDateTime& timestamp);
    [[nodiscard]] std::optional<QString> appSource() const;
    void setAppSource(const std::optional<QString>& appSource);
    /// Whether the user wants it kept.
    [[nodiscard]] bool isPinned() const;
    void setIsPinned(bool isPinned);

Q_SIGNALS:
    void contentChanged();
    void timestampChanged();
    void appSourceChanged();
    void isPinnedChanged();

private:
    [[nodiscard]] QVariant appSourceValue() const;
    void setAppSourceValue(const QVariant& value);
};

} // namespace velmorin
