// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ObjectDatabase.h"
#include "SharedCore/PersistentIdentifier.h"

#include <QStringList>

namespace velmorin {

/// The attribute values of one object, and which of them were written since they were stored. One
/// thread at a time.
class BackingRecord {
public:
    /// A fresh record, with no values and a temporary identity. `schema` must outlive it.
    explicit BackingRecord(const EntitySchema& schema);
    /// A stored row. `schema` must outlive it.
    BackingRecord(const EntitySchema& schema, const ObjectRow& row);

    [[nodiscard]] const EntitySchema& schema() const { return *m_schema; }
    [[nodiscard]] const PersistentIdentifier& identifier() const { return m_identifier; }

    /// Invalid where there is none.
    [[nodiscard]] QVariant value(const QString& attribute) const {
        return m_values.value(attribute);
    }
    [[nodiscard]] const QVariantMap& values() const { return m_values; }
    /// What was written since the record was stored, also where it was equal.
    [[nodiscard]] QVariantMap changes() const;
    [[nodiscard]] bool hasChanges() const { return !m_stored.isEmpty(); }

    void setValue(const QString& attribute, const QVariant& value);

    /// All values are now stored in that row.
    void becomeStored(qint64 row);
    /// Takes over what the row has now, but for what was written here. Gives the attributes whose
    /// values are now others.
    QStringList merge(const QVariantMap& stored);
    /// Goes back to what is stored. Gives the attributes that were written.
    QStringList rollBack();

private:
    const EntitySchema* m_schema;
    PersistentIdentifier m_identifier;
    QVariantMap m_values;
    QVariantMap m_stored; // of a stored record, the earlier values of what was written
};

} // namespace velmorin
