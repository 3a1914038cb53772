// SPDX-License-Identifier: MIT
#pragma once

#include <QHashFunctions>
#include <QString>

namespace velmorin {

/// What tells an object from all others of its store, whatever they contain. Any thread.
struct PersistentIdentifier {
    QString entityName;
    /// Positive: given by the store, for good. Negative: temporary, and the object's own in this
    /// process until it is stored. 0: no object's.
    qint64 number = 0;

    [[nodiscard]] bool isTemporary() const { return number < 0; }

    /// A new temporary one.
    [[nodiscard]] static PersistentIdentifier temporary(const QString& entityName);

    bool operator==(const PersistentIdentifier&) const = default;
    friend size_t qHash(const PersistentIdentifier& identifier, size_t seed = 0) {
        return qHashMulti(seed, identifier.entityName, identifier.number);
    }
};

} // namespace velmorin
