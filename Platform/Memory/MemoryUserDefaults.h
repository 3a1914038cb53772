// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/PropertyList.h"
#include "Platform/UserDefaults.h"

#include <QHash>
#include <QMutex>
#include <QStringList>

namespace velmorin {

/// Preferences that live as long as the object, with a journal of the changes. Any thread.
class MemoryUserDefaults final : public UserDefaults {
public:
    [[nodiscard]] QVariant object(const QString& key) const override {
        const QMutexLocker lock(&m_mutex);
        return m_values.value(key);
    }

    void set(const QString& key, const QVariant& value) override {
        if (!value.isValid()) {
            removeObject(key);
            return;
        }
        const QVariant kept = propertyListValue(value);
        if (kept.isValid()) {
            const QMutexLocker lock(&m_mutex);
            m_values.insert(key, kept);
            m_journal.append(QStringLiteral("set ") + key);
        }
    }

    void removeObject(const QString& key) override {
        const QMutexLocker lock(&m_mutex);
        m_values.remove(key);
        m_journal.append(QStringLiteral("remove ") + key);
    }

    /// The changes that were carried out, oldest first: "set KEY" or "remove KEY".
    [[nodiscard]] QStringList journal() const {
        const QMutexLocker lock(&m_mutex);
        return m_journal;
    }

private:
    mutable QMutex m_mutex;
    QHash<QString, QVariant> m_values;
    QStringList m_journal;
};

} // namespace velmorin
