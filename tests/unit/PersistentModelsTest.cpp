// SPDX-License-Identifier: MIT
#include "Platform/Memory/MemoryClock.h"
#include "Platform/Memory/MemoryObjectDatabase.h"
#include "SharedCore/ClipboardItem.h"
#include "SharedCore/DailyActivity.h"
#include "SharedCore/ObjectStore.h"
#include "tests/contracts/ObjectDatabaseContract.h"

#include <QMetaProperty>
#include <QSignalSpy>

namespace velmorin {
namespace {

class MemoryPort {
public:
    std::unique_ptr<ObjectDatabase> connect() {
        return std::make_unique<MemoryObjectDatabase>(m_contents);
    }

private:
    std::shared_ptr<MemoryObjectDatabase::Contents> m_contents =
        std::make_shared<MemoryObjectDatabase::Contents>();
};

INSTANTIATE_TYPED_TEST_SUITE_P(Memory, ObjectDatabaseContract, MemoryPort);

class PersistentModels : public testing::Test {
protected:
    /// A store with a connection of its own, and a journal of what it told.
    struct Application {
        explicit Application(const std::shared_ptr<MemoryObjectDatabase::Contents>& contents)
            : database(std::make_shared<MemoryObjectDatabase>(contents)), store(database) {
            EXPECT_TRUE(store.addEntity<ClipboardItem>());
            EXPECT_TRUE(store.addEntity<DailyActivity>());
            const auto journalled = [this](const char* what) {
                return [this, what](const PersistentIdentifier& id) {
                    journal.append(QString::fromLatin1(what) + QString::number(id.number));
                };
            };
            QObject::connect(&store, &ObjectStore::inserted, journalled("+"));
            QObject::connect(&store, &ObjectStore::updated, journalled("~"));
            QObject::connect(&store, &ObjectStore::deleted, journalled("-"));
        }
        QString told() { return std::exchange(journal, {}).join(u' '); }

        std::shared_ptr<MemoryObjectDatabase> database;
        QStringList journal;
        ObjectStore store;
    };

    std::shared_ptr<ClipboardItem> item(const QString& content = QStringLiteral("text")) {
        return std::make_shared<ClipboardItem>(content, std::nullopt, clock);
    }
    std::shared_ptr<ClipboardItem> savedItem() {
        const auto saved = item();
        EXPECT_TRUE(first.store.insert(saved) && first.store.save());
        first.told();
        return saved;
    }
    std::shared_ptr<MemoryMainQueue> queue = std::make_shared<MemoryMainQueue>();
    MemoryClock clock{queue};
    std::shared_ptr<MemoryObjectDatabase::Contents> contents =
        std::make_shared<MemoryObjectDatabase::Contents>();
    Application first{contents};
    Application second{contents};
};

TEST_F(PersistentModels, everyAttributeIsAPropertyThatTellsAndReachesTheRecord) {
    ClipboardItem clipboardItem(QString(), std::nullopt, clock);
    DailyActivity day(clock.now());
    const QDateTime later = clock.now().addMSecs(1);
    const struct {
        PersistentModel* object;
        QByteArrayList names;
        QVariantList values;
    } cases[] = {{&clipboardItem,
                  {"content", "timestamp", "appSource", "isPinned"},
                  {QStringLiteral("b"), later, QStringLiteral("Editor"), true}},
                 {&day,
                  {"date", "mouseDistance", "keystrokes", "activeTime"},
                  {later, 1.5, qint64{1} << 40U, 2.5}}};
    for (const auto& [object, names, values] : cases) {
        const BackingRecord& record = object->backingRecord();
        ASSERT_EQ(record.schema().attributes.size(), names.size());
        for (qsizetype i = 0; i < names.size(); ++i) {
            const char* name = names[i].constData();
            const QMetaObject* meta = object->metaObject();
            QSignalSpy spy(object, meta->property(meta->indexOfProperty(name)).notifySignal());
            EXPECT_TRUE(object->setProperty(name, values[i])) << name;
            EXPECT_TRUE(object->setProperty(name, values[i])) << name;
            EXPECT_EQ(spy.size(), 2) << name;
            EXPECT_EQ(object->property(name), values[i]) << name;
            EXPECT_EQ(record.schema().attributes[i].name, QString::fromLatin1(names[i]));
            EXPECT_EQ(record.value(QString::fromLatin1(names[i])), values[i]) << name;
        }
    }
    clipboardItem.setProperty("appSource", QVariant());
    EXPECT_EQ(clipboardItem.appSource(), std::nullopt);
}

TEST_F(PersistentModels, identityIsTemporaryUntilSavedAndNeverShared) {
    const auto one = item();
    const auto other = item();
    EXPECT_TRUE(one->id().isTemporary());
    EXPECT_NE(one->id(), other->id());
    const PersistentIdentifier temporary = one->id();
    ASSERT_TRUE(first.store.insert(one) && first.store.insert(other));
    EXPECT_EQ(one->id(), temporary);
    EXPECT_EQ(first.store.fetch<ClipboardItem>()->size(), 0);
    ASSERT_TRUE(first.store.save());
    EXPECT_FALSE(one->id().isTemporary());
    EXPECT_NE(one->id(), other->id());
    EXPECT_EQ(first.store.object<ClipboardItem>(other->id()), other);
    EXPECT_EQ(first.store.object<DailyActivity>(other->id()), nullptr);
    EXPECT_EQ(first.told(), QStringLiteral("+1 +2"));
}

TEST_F(PersistentModels, isReadBackByOthersAsGiven) {
    const QString text = QStringLiteral("اثممخ ") + QChar(0xd83d);
    const auto written = std::make_shared<ClipboardItem>(text, std::nullopt, clock);
    const auto day = std::make_shared<DailyActivity>(clock.now());
    day->setKeystrokes(std::numeric_limits<qint64>::max());
    ASSERT_TRUE(first.store.insert(written) && first.store.insert(day) && first.store.save());
    const auto items = second.store.fetch<ClipboardItem>();
    const auto days = second.store.fetch<DailyActivity>();
    ASSERT_TRUE(items->size() == 1 && days->size() == 1);
    EXPECT_NE(items->first(), written);
    EXPECT_EQ(items->first()->id(), written->id());
    EXPECT_EQ(items->first()->content(), text);
    EXPECT_EQ(items->first()->timestamp(), clock.now());
    EXPECT_EQ(items->first()->timestamp().timeSpec(), Qt::UTC);
    EXPECT_EQ(items->first()->appSource(), std::nullopt);
    EXPECT_EQ(days->first()->date(), clock.now());
    EXPECT_EQ(days->first()->keystrokes(), day->keystrokes());
    EXPECT_EQ(second.store.fetch<ClipboardItem>()->first(), items->first());
}

TEST_F(PersistentModels, savesOnlyWhatWasWritten) {
    const auto saved = savedItem();
    const auto others = second.store.object<ClipboardItem>(saved->id());
    EXPECT_FALSE(saved->hasChanges());
    saved->setIsPinned(true);
    EXPECT_TRUE(saved->hasChanges() && first.store.hasChanges());
    others->setContent(QStringLiteral("newer"));
    ASSERT_TRUE(first.store.save() && second.store.save());
    EXPECT_EQ(first.told(), QStringLiteral("~1"));
    EXPECT_FALSE(first.store.hasChanges());
    ASSERT_TRUE(first.store.refresh() && second.store.refresh());
    for (const auto& each : {saved, others}) {
        EXPECT_EQ(each->content(), QStringLiteral("newer"));
        EXPECT_TRUE(each->isPinned());
    }
    auto changed = savedItem(); // is kept until it is saved
    const PersistentIdentifier id = changed->id();
    changed->setIsPinned(true);
    changed.reset();
    ASSERT_TRUE(first.store.save());
    EXPECT_TRUE(first.store.object<ClipboardItem>(id)->isPinned());
}

TEST_F(PersistentModels, rollbackGoesBackToWhatIsStored) {
    const auto added = item();
    const auto changed = savedItem();
    const auto removed = savedItem();
    removed->setContent(QStringLiteral("later"));
    ASSERT_TRUE(first.store.insert(added) && first.store.remove(removed));
    changed->setIsPinned(true);
    EXPECT_EQ(first.store.fetch<ClipboardItem>()->size(), 1);
    QSignalSpy spy(changed.get(), &ClipboardItem::isPinnedChanged);
    first.store.rollback();
    EXPECT_EQ(spy.size(), 1);
    EXPECT_FALSE(changed->isPinned() || changed->hasChanges() || first.store.hasChanges());
    EXPECT_EQ(removed->content(), QStringLiteral("text"));
    EXPECT_EQ(first.store.fetch<ClipboardItem>()->size(), 2);
    EXPECT_TRUE(second.store.insert(added)); // it is nobody's again
    EXPECT_FALSE(first.store.insert(added) || first.store.insert(changed));
}

TEST_F(PersistentModels, deletedObjectLeavesTheStore) {
    const auto saved = savedItem();
    ASSERT_TRUE(first.store.remove(saved) && first.store.remove(saved) && first.store.save());
    EXPECT_EQ(first.told(), QStringLiteral("-1"));
    EXPECT_EQ(second.store.fetch<ClipboardItem>()->size(), 0);
    saved->setIsPinned(true);
    EXPECT_FALSE(first.store.hasChanges() || first.store.remove(saved));
    const auto added = item();
    ASSERT_TRUE(first.store.insert(added) && first.store.remove(added));
    EXPECT_FALSE(first.store.hasChanges());
}

TEST_F(PersistentModels, whatCouldNotBeSavedWaits) {
    for (const char* operation : {"begin", "insert", "update", "remove", "commit"}) {
        const auto changed = savedItem();
        const auto removed = savedItem();
        const auto added = item();
        const qsizetype before = second.store.fetch<ClipboardItem>()->size();
        changed->setIsPinned(true);
        ASSERT_TRUE(first.store.insert(added) && first.store.remove(removed));
        first.database->setFailing(QString::fromLatin1(operation));
        EXPECT_FALSE(first.store.save()) << operation;
        EXPECT_FALSE(first.store.lastError().isEmpty()) << operation;
        EXPECT_TRUE(added->id().isTemporary() && first.told().isEmpty()) << operation;
        EXPECT_EQ(second.store.fetch<ClipboardItem>()->size(), before) << operation;
        first.database->setFailing({});
        EXPECT_TRUE(first.store.save() && first.store.lastError().isEmpty()) << operation;
        EXPECT_TRUE(second.store.object<ClipboardItem>(changed->id())->isPinned()) << operation;
        EXPECT_EQ(second.store.object<ClipboardItem>(removed->id()), nullptr) << operation;
        EXPECT_NE(second.store.object<ClipboardItem>(added->id()), nullptr) << operation;
    }
    const auto invalid = item();
    invalid->setTimestamp({});
    ASSERT_TRUE(first.store.insert(invalid));
    EXPECT_FALSE(first.store.save());
    for (const char* operation : {"select", "rows", "dataVersion"}) {
        first.database->setFailing(QString::fromLatin1(operation));
        EXPECT_FALSE(first.store.fetch<ClipboardItem>() && first.store.refresh()) << operation;
    }
}

TEST_F(PersistentModels, refreshTellsWhatOthersDid) {
    const auto changed = savedItem();
    const auto removed = savedItem();
    ASSERT_TRUE(second.store.refresh());
    EXPECT_EQ(second.told(), QStringLiteral("+1 +2"));
    const auto othersChanged = second.store.object<ClipboardItem>(changed->id());
    const auto othersRemoved = second.store.object<ClipboardItem>(removed->id());
    othersChanged->setIsPinned(true);
    othersRemoved->setIsPinned(true);
    QSignalSpy contentSpy(othersChanged.get(), &ClipboardItem::contentChanged);
    QSignalSpy pinnedSpy(othersChanged.get(), &ClipboardItem::isPinnedChanged);
    changed->setContent(QStringLiteral("newer"));
    changed->setIsPinned(false);
    ASSERT_TRUE(first.store.remove(removed) && first.store.insert(item()) && first.store.save());
    ASSERT_TRUE(second.store.refresh() && second.store.refresh());
    EXPECT_EQ(second.told(), QStringLiteral("+3 ~1 -2"));
    EXPECT_EQ(contentSpy.size(), 1);
    EXPECT_EQ(pinnedSpy.size(), 0);
    EXPECT_TRUE(othersChanged->isPinned());
    ASSERT_TRUE(second.store.save());
    EXPECT_EQ(second.told(), QStringLiteral("~1"));
    first.told();
    ASSERT_TRUE(first.store.refresh());
    EXPECT_EQ(first.told(), QStringLiteral("~1"));
    EXPECT_TRUE(changed->isPinned());
}

TEST_F(PersistentModels, objectsMayOutliveTheirStore) {
    auto store = std::make_unique<ObjectStore>(first.database);
    EXPECT_FALSE(store->insert(item()));
    EXPECT_FALSE(store->fetch<ClipboardItem>());
    ASSERT_TRUE(store->addEntity<ClipboardItem>());
    const auto kept = item();
    ASSERT_TRUE(store->insert(kept) && store->insert(item()) && store->save());
    ASSERT_TRUE(store->insert(item()));
    store->fetch<ClipboardItem>()->last()->setIsPinned(true); // only the store holds this one
    store.reset();
    kept->setIsPinned(false);
    EXPECT_EQ(first.store.fetch<ClipboardItem>()->size(), 2);
}

} // namespace
} // namespace velmorin
