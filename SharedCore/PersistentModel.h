// SPDX-License-Identifier: MIT
#pragma once

#include "SharedCore/BackingRecord.h"

#include <QObject>
#include <QPointer>

#include <concepts>

namespace velmorin {

/// An object whose attributes live in a backing record, and may be stored in an ObjectStore. Each
/// attribute is a property of the same name; each write tells, with an equal value as well.
///
/// Two objects are the same one only if they have the same identity. Main thread.
class PersistentModel : public QObject {
    Q_OBJECT

public:
    /// Temporary until the store has saved the object. Also what it goes by in lists.
    [[nodiscard]] const PersistentIdentifier& id() const { return m_record.identifier(); }
    [[nodiscard]] const BackingRecord& backingRecord() const { return m_record; }
    /// Whether an attribute was written since the object was stored. Always false before that.
    [[nodiscard]] bool hasChanges() const { return m_record.hasChanges(); }

Q_SIGNALS:
    /// An attribute was written through the object.
    void written();

protected:
    explicit PersistentModel(BackingRecord record);

    [[nodiscard]] QVariant value(const QString& attribute) const {
        return m_record.value(attribute);
    }
    void write(const QString& attribute, const QVariant& value);

private:
    friend class ObjectStore;
    void notify(const QString& attribute);

    BackingRecord m_record;
    QPointer<QObject> m_store; // where it was inserted or came from
};

/// A class of objects that a store can make: it has a schema and comes to be from a record.
template <typename T>
concept PersistentModelClass =
    std::derived_from<T, PersistentModel> && std::constructible_from<T, BackingRecord> && requires {
    { T::schema() } -> std::same_as<const EntitySchema&>;
};

} // namespace velmorin
