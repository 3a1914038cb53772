// SPDX-License-Identifier: MIT
#include "SharedCore/BackingRecord.h"

#include <atomic>
#include <utility>

namespace velmorin {

PersistentIdentifier PersistentIdentifier::temporary(const QString& entityName) {
    static std::atomic<qint64> last = 0;
    return {entityName, --last};
}

BackingRecord::BackingRecord(const EntitySchema& schema)
    : m_schema(&schema), m_identifier(PersistentIdentifier::temporary(schema.name)) {}

BackingRecord::BackingRecord(const EntitySchema& schema, const ObjectRow& row)
    : m_schema(&schema), m_identifier{schema.name, row.row}, m_values(row.values) {}

QVariantMap BackingRecord::changes() const {
    QVariantMap changes;
    for (auto entry = m_stored.begin(); entry != m_stored.end(); ++entry) {
        changes.insert(entry.key(), m_values.value(entry.key()));
    }
    return changes;
}

void BackingRecord::setValue(const QString& attribute, const QVariant& value) {
    if (!m_identifier.isTemporary() && !m_stored.contains(attribute)) {
        m_stored.insert(attribute, m_values.value(attribute));
    }
    m_values.insert(attribute, value);
}

void BackingRecord::becomeStored(qint64 row) {
    m_identifier.number = row;
    m_stored.clear();
}

QStringList BackingRecord::merge(const QVariantMap& stored) {
    QStringList merged;
    for (auto entry = stored.begin(); entry != stored.end(); ++entry) {
        const bool isWritten = m_stored.contains(entry.key());
        QVariant& known = isWritten ? m_stored[entry.key()] : m_values[entry.key()];
        if (known != *entry) {
            known = *entry;
            if (!isWritten) {
                merged.append(entry.key());
            }
        }
    }
    return merged;
}

QStringList BackingRecord::rollBack() {
    const QVariantMap stored = std::exchange(m_stored, {});
    m_values.insert(stored);
    return stored.keys();
}

} // namespace velmorin
