// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ObjectDatabase.h"
#include "SharedCore/PersistentModel.h"

#include <QHash>
#include <QMap>
#include <QSet>

#include <functional>
#include <memory>
#include <optional>

namespace velmorin {

/// The objects of a database, one live object an identity: as long as someone holds it, the same
/// one is given again. Insertions, changes and deletions wait in memory for `save()`.
///
/// Nothing throws; what fails shows as none, null or false, with the reason in `lastError()`, and
/// what was to be saved still waits. What waits is lost with the store; its objects may outlive
/// it. Main thread; calls wait as long as the database's, which is bounded.
class ObjectStore : public QObject {
    Q_OBJECT

public:
    explicit ObjectStore(std::shared_ptr<ObjectDatabase> database, QObject* parent = nullptr);

    /// Comes before all other use of T. Makes its table if there is none.
    template <PersistentModelClass T>
    [[nodiscard]] bool addEntity() {
        return addEntity(T::schema(), [](BackingRecord record) -> Object {
            return std::make_shared<T>(std::move(record));
        });
    }

    /// Has the object stored by the next `save()`. False for null, one of an entity that was not
    /// added, and one that is or was stored or waits for it.
    [[nodiscard]] bool insert(const std::shared_ptr<PersistentModel>& object);
    /// Has the object deleted by the next `save()`; it is then no longer of the store. False when
    /// it is not of this store.
    [[nodiscard]] bool remove(const std::shared_ptr<PersistentModel>& object);

    /// The objects that are saved, as they are in memory: what was written to them counts for the
    /// query only once it is saved. Leaves out those that wait for deletion.
    template <PersistentModelClass T>
    [[nodiscard]] std::optional<QList<std::shared_ptr<T>>> fetch(const ObjectQuery& query = {}) {
        const std::optional<QList<Object>> objects = fetch(T::schema().name, query);
        if (!objects) {
            return std::nullopt;
        }
        QList<std::shared_ptr<T>> found;
        for (const Object& object : *objects) {
            found.append(std::static_pointer_cast<T>(object));
        }
        return found;
    }
    /// The saved object of that identity; null when there is none, or it is another entity's.
    template <PersistentModelClass T>
    [[nodiscard]] std::shared_ptr<T> object(const PersistentIdentifier& id) {
        const auto found = fetch<T>({.row = id.number});
        return found && !found->isEmpty() && found->first()->id() == id ? found->first() : nullptr;
    }

    /// Whether something waits for `save()`.
    [[nodiscard]] bool hasChanges() const;
    /// Stores all that waits, or nothing of it; true when it is durable. Attributes that were not
    /// written are left as other connections have made them.
    [[nodiscard]] bool save();
    /// Drops all that waits: new objects leave the store, deleted ones are back, and attributes
    /// have the values that are stored, of which the objects tell.
    void rollback();

    /// Takes over what other connections have saved since the last time, and tells of it. Costs
    /// next to nothing when that is nothing. What was written here and waits stays as it is.
    [[nodiscard]] bool refresh();

    /// Why the last call failed, in English and without anything of what is stored; empty when it
    /// did not.
    [[nodiscard]] QString lastError() const { return m_error; }

Q_SIGNALS:
    // Once it is saved, by this store or, as `refresh()` finds out, by others. Of others' changes
    // only those of live objects are told.
    void inserted(const PersistentIdentifier& id);
    void updated(const PersistentIdentifier& id);
    void deleted(const PersistentIdentifier& id);

private:
    using Object = std::shared_ptr<PersistentModel>;
    using Make = std::function<Object(BackingRecord)>;
    struct Entity {
        const EntitySchema* schema = nullptr;
        Make make;
        QSet<qint64> rows; // that are known to be stored
    };
    struct Changes {
        QList<PersistentIdentifier> inserted, updated, deleted;
    };

    [[nodiscard]] bool addEntity(const EntitySchema& schema, const Make& make);
    [[nodiscard]] std::optional<QList<Object>> fetch(const QString& entity,
                                                     const ObjectQuery& query);
    [[nodiscard]] std::optional<QList<qint64>> write();
    [[nodiscard]] Changes adopt(const QList<qint64>& rows);
    [[nodiscard]] bool compare(Entity& entity, Changes& changes);
    [[nodiscard]] bool merge(const Object& object, const QVariantMap& stored);
    [[nodiscard]] Object liveObject(const PersistentIdentifier& id) const;
    void makeLive(const Object& object);
    void detach(const Object& object);
    void forget(const PersistentIdentifier& id);
    void tell(const Changes& changes);
    [[nodiscard]] bool fail(const QString& reason);

    const std::shared_ptr<ObjectDatabase> m_database;
    QMap<QString, Entity> m_entities;
    QHash<PersistentIdentifier, std::weak_ptr<PersistentModel>> m_live; // outlives what waits
    QList<Object> m_inserted, m_changed, m_deleted;                     // what waits
    std::optional<qint64> m_version;
    QString m_error;
};

} // namespace velmorin
