// SPDX-License-Identifier: MIT
#include "SharedCore/PersistentModel.h"

#include <QMetaProperty>

#include <utility>

namespace velmorin {

PersistentModel::PersistentModel(BackingRecord record) : m_record(std::move(record)) {}

void PersistentModel::write(const QString& attribute, const QVariant& value) {
    m_record.setValue(attribute, value);
    Q_EMIT written(); // first, so that the store knows of the change when observers ask it
    notify(attribute);
}

void PersistentModel::notify(const QString& attribute) {
    const int index = metaObject()->indexOfProperty(attribute.toUtf8().constData());
    metaObject()->property(index).notifySignal().invoke(this, Qt::DirectConnection);
}

} // namespace velmorin
