// SPDX-License-Identifier: MIT
//
// clipboard_history FOLDER: keeps one more text and one more key press, and prints how many.
#include "Platform/Freedesktop/SqliteObjectDatabase.h"
#include "Platform/Qt/QtMainQueue.h"
#include "SharedCore/ClipboardItem.h"
#include "SharedCore/DailyActivity.h"
#include "SharedCore/ObjectStore.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

using namespace velmorin;

namespace {

int fail(const ObjectStore& store) {
    std::fprintf(stderr, "clipboard_history: %s\n", qPrintable(store.lastError()));
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: clipboard_history FOLDER\n", stderr);
        return 2;
    }
    const QCoreApplication application(argc, argv);
    const QString file = QFile::decodeName(argv[1]) + QStringLiteral("/history.sqlite");
    ObjectStore store(std::make_shared<SqliteObjectDatabase>(file));
    if (!store.addEntity<ClipboardItem>() || !store.addEntity<DailyActivity>()) {
        return fail(store);
    }
    const QtClock clock;
    const QDateTime today = clock.now().date().startOfDay();
    const auto days =
        store.fetch<DailyActivity>({.conditions = {{.attribute = "date", .value = today}}});
    if (!days) {
        return fail(store);
    }
    const auto day = days->isEmpty() ? std::make_shared<DailyActivity>(today) : days->first();
    day->setKeystrokes(day->keystrokes() + 1);
    const auto item = std::make_shared<ClipboardItem>(QStringLiteral("text"), std::nullopt, clock);
    if ((days->isEmpty() && !store.insert(day)) || !store.insert(item) || !store.save()) {
        return fail(store);
    }
    const auto items = store.fetch<ClipboardItem>();
    if (!items) {
        return fail(store);
    }
    std::printf("%lld texts, %lld keys today\n", qint64{items->size()}, day->keystrokes());
    return 0;
}
