// SPDX-License-Identifier: MIT
#include "SharedCore/ObjectStore.h"

#include <utility>

namespace velmorin {

ObjectStore::ObjectStore(std::shared_ptr<ObjectDatabase> database, QObject* parent)
    : QObject(parent), m_database(std::move(database)) {}

bool ObjectStore::addEntity(const EntitySchema& schema, const Make& make) {
    m_error.clear();
    const bool isThere = m_database->createTable(schema);
    const auto rows = isThere ? m_database->rows(schema) : std::nullopt;
    if (!rows) {
        return fail(m_database->lastError());
    }
    m_entities.insert(schema.name, {&schema, make, QSet<qint64>(rows->begin(), rows->end())});
    return true;
}

bool ObjectStore::insert(const Object& object) {
    m_error.clear();
    if (!object || object->m_store || !object->id().isTemporary() ||
        !m_entities.contains(object->id().entityName)) {
        return fail(QStringLiteral("not a new object of an entity of this store"));
    }
    object->m_store = this;
    m_inserted.append(object);
    return true;
}

bool ObjectStore::remove(const Object& object) {
    m_error.clear();
    if (!object || object->m_store != this) {
        return fail(QStringLiteral("not an object of this store"));
    }
    if (m_inserted.removeOne(object)) {
        detach(object);
    } else if (!m_deleted.contains(object)) {
        m_changed.removeOne(object);
        m_deleted.append(object);
    }
    return true;
}

std::optional<QList<ObjectStore::Object>> ObjectStore::fetch(const QString& name,
                                                             const ObjectQuery& query) {
    m_error.clear();
    const Entity entity = m_entities.value(name);
    if (entity.schema == nullptr) {
        (void)fail(QStringLiteral("not an entity of this store"));
        return std::nullopt;
    }
    const auto rows = m_database->select(*entity.schema, query);
    if (!rows) {
        (void)fail(m_database->lastError());
        return std::nullopt;
    }
    QList<Object> objects;
    Changes changes;
    for (const ObjectRow& row : *rows) {
        Object object = liveObject({name, row.row});
        if (!object) {
            object = entity.make(BackingRecord(*entity.schema, row));
            makeLive(object);
        } else if (merge(object, row.values)) {
            changes.updated.append(object->id());
        }
        objects.append(object);
    }
    tell(changes);
    objects.removeIf([this](const Object& object) { return m_deleted.contains(object); });
    return objects;
}

bool ObjectStore::hasChanges() const {
    return !m_inserted.isEmpty() || !m_changed.isEmpty() || !m_deleted.isEmpty();
}

bool ObjectStore::save() {
    m_error.clear();
    if (!hasChanges()) {
        return true;
    }
    if (!m_database->begin()) {
        return fail(m_database->lastError());
    }
    const auto rows = write();
    if (!rows || !m_database->commit()) {
        m_error = m_database->lastError();
        m_database->rollback();
        return false;
    }
    tell(adopt(*rows));
    return true;
}

std::optional<QList<qint64>> ObjectStore::write() {
    QList<qint64> rows;
    for (const Object& object : std::as_const(m_inserted)) {
        const BackingRecord& record = object->backingRecord();
        const auto row = m_database->insert(record.schema(), record.values());
        if (!row) {
            return std::nullopt;
        }
        rows.append(*row);
    }
    for (const Object& object : std::as_const(m_changed)) {
        const BackingRecord& record = object->backingRecord();
        if (!m_database->update(record.schema(), {object->id().number, record.changes()})) {
            return std::nullopt;
        }
    }
    for (const Object& object : std::as_const(m_deleted)) {
        if (!m_database->remove(object->backingRecord().schema(), object->id().number)) {
            return std::nullopt;
        }
    }
    return rows;
}

ObjectStore::Changes ObjectStore::adopt(const QList<qint64>& rows) {
    const QList<Object> inserted = std::exchange(m_inserted, {});
    const QList<Object> changed = std::exchange(m_changed, {});
    const QList<Object> deleted = std::exchange(m_deleted, {});
    Changes changes;
    for (qsizetype i = 0; i < inserted.size(); ++i) {
        inserted[i]->m_record.becomeStored(rows[i]);
        makeLive(inserted[i]);
        m_entities[inserted[i]->id().entityName].rows.insert(rows[i]);
        changes.inserted.append(inserted[i]->id());
    }
    for (const Object& object : changed) {
        object->m_record.becomeStored(object->id().number);
        changes.updated.append(object->id());
    }
    for (const Object& object : deleted) {
        m_entities[object->id().entityName].rows.remove(object->id().number);
        forget(object->id());
        changes.deleted.append(object->id());
    }
    return changes;
}

void ObjectStore::rollback() {
    m_error.clear();
    const QList<Object> inserted = std::exchange(m_inserted, {});
    const QList<Object> written = std::exchange(m_changed, {}) + std::exchange(m_deleted, {});
    for (const Object& object : inserted) {
        detach(object);
    }
    QList<QStringList> attributes;
    for (const Object& object : written) {
        attributes.append(object->m_record.rollBack());
    }
    for (qsizetype i = 0; i < written.size(); ++i) { // now that all have their values again
        for (const QString& attribute : attributes[i]) {
            written[i]->notify(attribute);
        }
    }
}

bool ObjectStore::refresh() {
    m_error.clear();
    const auto version = m_database->dataVersion();
    if (!version) {
        return fail(m_database->lastError());
    }
    if (version == m_version) {
        return true;
    }
    Changes changes;
    bool isDone = true;
    for (Entity& entity : m_entities) {
        isDone = isDone && compare(entity, changes);
    }
    if (isDone) {
        m_version = version;
    } else {
        m_error = m_database->lastError();
    }
    tell(changes);
    return isDone;
}

bool ObjectStore::compare(Entity& entity, Changes& changes) {
    const auto rows = m_database->rows(*entity.schema);
    if (!rows) {
        return false;
    }
    const QString& name = entity.schema->name;
    const QSet<qint64> known = std::exchange(entity.rows, {rows->begin(), rows->end()});
    for (const qint64 row : *rows) { // in the order in which they came
        if (!known.contains(row)) {
            changes.inserted.append({name, row});
        }
    }
    QSet<qint64> gone = known - entity.rows;
    QList<Object> live;
    for (auto entry = m_live.cbegin(); entry != m_live.cend(); ++entry) {
        const Object object = entry.value().lock();
        if (!object || entry.key().entityName != name) {
            continue;
        }
        if (entity.rows.contains(entry.key().number)) {
            live.append(object);
        } else {
            gone.insert(entry.key().number);
        }
    }
    for (const qint64 row : std::as_const(gone)) {
        changes.deleted.append({name, row});
        forget({name, row});
    }
    for (const Object& object : std::as_const(live)) {
        const auto found = m_database->select(*entity.schema, {.row = object->id().number});
        if (!found) {
            return false;
        }
        if (!found->isEmpty() && merge(object, found->first().values)) {
            changes.updated.append(object->id());
        }
    }
    return true;
}

bool ObjectStore::merge(const Object& object, const QVariantMap& stored) {
    const QStringList attributes = object->m_record.merge(stored);
    for (const QString& attribute : attributes) {
        object->notify(attribute);
    }
    return !attributes.isEmpty();
}

ObjectStore::Object ObjectStore::liveObject(const PersistentIdentifier& id) const {
    return m_live.value(id).lock();
}

void ObjectStore::makeLive(const Object& object) {
    const PersistentIdentifier id = object->id();
    object->m_store = this;
    m_live.insert(id, object);
    connect(object.get(), &QObject::destroyed, this, [this, id] { m_live.remove(id); });
    connect(object.get(), &PersistentModel::written, this, [this, id] {
        const Object changed = liveObject(id);
        if (changed && !m_changed.contains(changed) && !m_deleted.contains(changed)) {
            m_changed.append(changed);
        }
    });
}

void ObjectStore::detach(const Object& object) {
    object->disconnect(this);
    object->m_store.clear();
}

void ObjectStore::forget(const PersistentIdentifier& id) {
    if (const Object object = liveObject(id)) {
        m_live.remove(id);
        m_changed.removeOne(object);
        m_deleted.removeOne(object);
        detach(object);
    }
}

void ObjectStore::tell(const Changes& changes) {
    for (const PersistentIdentifier& id : changes.inserted) {
        Q_EMIT inserted(id);
    }
    for (const PersistentIdentifier& id : changes.updated) {
        Q_EMIT updated(id);
    }
    for (const PersistentIdentifier& id : changes.deleted) {
        Q_EMIT deleted(id);
    }
}

bool ObjectStore::fail(const QString& reason) {
    m_error = reason;
    return false;
}

} // namespace velmorin
