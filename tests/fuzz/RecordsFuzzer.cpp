// SPDX-License-Identifier: MIT
// Stored settings that another program wrote: what can be read can be written, and stays the same.
#include "SharedCore/AppPreferences.h"
#include "SharedCore/UsageStats.h"
#include "tests/fuzz/Fuzzing.h"

using namespace velmorin;

namespace {

template <typename T>
void readAndWrite(const QJsonValue& json) {
    const std::optional<T> value = JsonCoder<T>::fromJson(json);
    if (!value) {
        return;
    }
    const std::optional<QByteArray> text = jsonText(JsonCoder<T>::toJson(*value));
    require(text.has_value(), "what was read can be written");
    require(JsonCoder<T>::fromJson(jsonValue(*text)) == value, "it is read again as it was");
}

/// A value like those that are stored, but for some of its members.
QJsonValue nextValue(FuzzedDataProvider& data, int depth) {
    static const char* const names[] = {
        "launchAtLogin",  "keyboardShortcuts", "theme",        "launchCount", "firstLaunchDate",
        "lastLaunchDate", "totalUsageTime",    "featureUsage", "light",       "AAAA"};
    const auto name = [&] { return QString::fromLatin1(data.PickValueInArray(names)); };
    switch (data.ConsumeIntegralInRange(0, depth > 0 ? 7 : 5)) {
    case 0:
        return QJsonValue::Null;
    case 1:
        return data.ConsumeBool();
    case 2:
        return qint64{data.ConsumeIntegral<int64_t>()};
    case 3:
        return data.ConsumeFloatingPoint<double>();
    case 4:
        return name();
    case 5:
        return QString::fromStdString(data.ConsumeRandomLengthString(32));
    case 6: {
        QJsonArray array;
        for (int left = data.ConsumeIntegralInRange(0, 4); left > 0; --left) {
            array.append(nextValue(data, depth - 1));
        }
        return array;
    }
    default: {
        QJsonObject object =
            (data.ConsumeBool()
                 ? JsonCoder<UsageStats>::toJson({})
                 : JsonCoder<AppPreferences>::toJson(AppPreferences::defaultSettings()))
                .toObject();
        for (int left = data.ConsumeIntegralInRange(0, 4); left > 0; --left) {
            object.insert(name(), nextValue(data, depth - 1));
        }
        return object;
    }
    }
}

void readAndWriteAll(const QJsonValue& json) {
    readAndWrite<AppPreferences>(json);
    readAndWrite<UsageStats>(json);
    readAndWrite<bool>(json);
    readAndWrite<qint8>(json);
    readAndWrite<double>(json);
    readAndWrite<QByteArray>(json);
    readAndWrite<QDateTime>(json);
    readAndWrite<QList<qint64>>(json);
    readAndWrite<QMap<QString, QString>>(json);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    readAndWriteAll(jsonValue(QByteArray(reinterpret_cast<const char*>(bytes), qsizetype(size))));
    FuzzedDataProvider data(bytes, size);
    readAndWriteAll(nextValue(data, 3));
    return 0;
}
