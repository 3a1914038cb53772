// SPDX-License-Identifier: MIT
#include "Platform/ObjectDatabase.h"

#include <QDateTime>

#include <algorithm>
#include <cmath>

namespace velmorin {

bool EntityAttribute::accepts(const QVariant& value) const {
    if (!value.isValid()) {
        return isOptional;
    }
    switch (type) {
    case AttributeType::string:
        return value.typeId() == QMetaType::QString;
    case AttributeType::boolean:
        return value.typeId() == QMetaType::Bool;
    case AttributeType::integer64:
        return value.typeId() == QMetaType::LongLong;
    case AttributeType::real:
        return value.typeId() == QMetaType::Double && !std::isnan(value.toDouble());
    case AttributeType::date:
        return value.typeId() == QMetaType::QDateTime && value.toDateTime().isValid();
    }
    return false;
}

const EntityAttribute* EntitySchema::attribute(const QString& attributeName) const {
    const auto found =
        std::find_if(attributes.begin(), attributes.end(),
                     [&](const EntityAttribute& each) { return each.name == attributeName; });
    return found == attributes.end() ? nullptr : &*found;
}

std::optional<QString> EntitySchema::unstorable(const QVariantMap& values) const {
    for (auto entry = values.begin(); entry != values.end(); ++entry) {
        const EntityAttribute* known = attribute(entry.key());
        if (known == nullptr || !known->accepts(entry.value())) {
            return entry.key();
        }
    }
    return std::nullopt;
}

QVariantMap EntitySchema::completed(QVariantMap values) const {
    for (const EntityAttribute& each : attributes) {
        if (!values.contains(each.name)) {
            values.insert(each.name, {});
        }
    }
    return values;
}

} // namespace velmorin
