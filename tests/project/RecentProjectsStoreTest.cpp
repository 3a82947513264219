#include "project/RecentProjectsStore.h"

#include "support/UserDefaults.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

using namespace orvane;

namespace {

class RecentProjectsStoreTest : public ::testing::Test {
protected:
    std::shared_ptr<ProjectBundle> bundle(const QString& name, int clips = 0) {
        Project p;
        p.name = name;
        for (int i = 0; i < clips; ++i) {
            Clip c;
            c.id = QUuid::createUuid();
            c.sourceVideoPath = QStringLiteral("media/a.mov");
            c.sourceOut = ProjectTime(4);
            c.timelineStart = ProjectTime(4.0 * i);
            p.timeline.clips.push_back(c);
        }
        auto b = std::make_shared<ProjectBundle>(m_dir.filePath(name + QStringLiteral(".orvanescreen")), p);
        EXPECT_TRUE(b->ensureOnDisk());
        return b;
    }

    QTemporaryDir m_dir;
    UserDefaults m_defaults{m_dir.filePath(QStringLiteral("defaults.ini"))};
};

} // namespace

TEST_F(RecentProjectsStoreTest, NewestFirstCappedAtTwelveAndPersisted) {
    RecentProjectsStore store(m_defaults);
    std::vector<std::shared_ptr<ProjectBundle>> bundles;
    for (int i = 0; i < 13; ++i) {
        bundles.push_back(bundle(QStringLiteral("P%1").arg(i), i % 2));
        store.registerBundle(*bundles.back());
    }
    ASSERT_EQ(store.projects().size(), 12u);
    EXPECT_EQ(store.projects().front().name, QStringLiteral("P12"));
    EXPECT_EQ(store.projects().back().name, QStringLiteral("P1")); // P0 dropped
    EXPECT_DOUBLE_EQ(store.projects().front().durationSeconds, 0);
    EXPECT_DOUBLE_EQ(store.projects()[1].durationSeconds, 4);

    // Re-registering moves to the front, once.
    store.registerBundle(*bundles[5]);
    EXPECT_EQ(store.projects().front().name, QStringLiteral("P5"));
    EXPECT_EQ(std::count_if(store.projects().begin(), store.projects().end(),
                            [&](const RecentProject& r) { return r.projectID == bundles[5]->project().id; }),
              1);

    RecentProjectsStore reloaded(m_defaults);
    EXPECT_EQ(reloaded.projects(), store.projects());
    EXPECT_EQ(reloaded.projects().front().bundlePath(), QDir(bundles[5]->path()).absolutePath());
}

TEST_F(RecentProjectsStoreTest, BadStoreReadsEmptyAndIsOverwritten) {
    m_defaults.setValue(QString::fromLatin1(RecentProjectsStore::storageKey),
                        QByteArray("[{\"projectID\": 1"));
    RecentProjectsStore store(m_defaults);
    EXPECT_TRUE(store.projects().empty());
    store.registerBundle(*bundle(QStringLiteral("A")));
    EXPECT_EQ(RecentProjectsStore(m_defaults).projects().size(), 1u);
}

TEST_F(RecentProjectsStoreTest, PruneRemoveAndClear) {
    RecentProjectsStore store(m_defaults);
    auto a = bundle(QStringLiteral("A"));
    auto b = bundle(QStringLiteral("B"));
    store.registerBundle(*a);
    store.registerBundle(*b);
    QSignalSpy changes(&store, &RecentProjectsStore::projectsChanged);
    store.prune();
    EXPECT_EQ(changes.count(), 0); // every bundle present: nothing written

    ASSERT_TRUE(QDir(b->path()).removeRecursively());
    store.prune();
    ASSERT_EQ(store.projects().size(), 1u);
    EXPECT_EQ(store.projects().front().name, QStringLiteral("A"));
    EXPECT_EQ(RecentProjectsStore(m_defaults).projects().size(), 1u);

    store.remove(a->project().id);
    EXPECT_TRUE(store.projects().empty());
    store.registerBundle(*a);
    store.clear();
    EXPECT_TRUE(RecentProjectsStore(m_defaults).projects().empty());
}

TEST_F(RecentProjectsStoreTest, ThumbnailsAreMadeOffTheMainThreadForProjectsWithClips) {
    RecentProjectsStore store(m_defaults);
    std::atomic<int> calls = 0;
    store.setThumbnailGenerator([&](const QString& source, double at, QSize size, const QString& target) {
        ++calls;
        EXPECT_TRUE(source.endsWith(QStringLiteral("/media/a.mov")));
        EXPECT_EQ(at, 1.0);
        EXPECT_EQ(size, QSize(320, 180));
        QFile f(target);
        return f.open(QIODevice::WriteOnly) && f.write("jpeg") == 4;
    });
    store.registerBundle(*bundle(QStringLiteral("Empty")));
    EXPECT_EQ(calls, 0);

    QSignalSpy finished(&store, &RecentProjectsStore::thumbnailGenerationFinished);
    auto withClips = bundle(QStringLiteral("Clips"), 2);
    store.registerBundle(*withClips);
    EXPECT_FALSE(store.projects().front().thumbnailPath);
    ASSERT_TRUE(finished.wait(5000));
    EXPECT_EQ(store.projects().front().thumbnailPath, QStringLiteral("thumbnails/recent.jpg"));
    EXPECT_EQ(store.thumbnailPath(store.projects().front()),
              withClips->mediaPath(QStringLiteral("thumbnails/recent.jpg")));
    // Re-registering clears the path until the thumbnail is made again.
    store.setThumbnailGenerator([](const QString&, double, QSize, const QString&) { return false; });
    store.registerBundle(*withClips);
    EXPECT_FALSE(store.projects().front().thumbnailPath);
    EXPECT_FALSE(store.thumbnailPath(store.projects().front()));
}
