#include "project/ProjectBundle.h"

#include "common/LogCapture.h"
#include "common/RandomProject.h"
#include "support/Clock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utime.h>

#include <csignal>
#include <random>

using namespace orvane;

namespace {

class ProjectBundleTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_dir.isValid());
        ProjectBundle::setPreviewRenderer({});
    }

    QString bundlePath(const QString& name = QStringLiteral("Demo.orvanescreen")) const {
        return m_dir.filePath(name);
    }

    std::shared_ptr<ProjectBundle> makeBundle(Project project = Project()) {
        auto bundle = std::make_shared<ProjectBundle>(bundlePath(), std::move(project), m_clock);
        EXPECT_TRUE(bundle->ensureOnDisk());
        return bundle;
    }

    static Project readBack(const QString& path) {
        QFile f(path);
        EXPECT_TRUE(f.open(QIODevice::ReadOnly));
        auto p = decodeProject(f.readAll());
        EXPECT_TRUE(p) << (p ? "" : p.error().what());
        return p ? *p : Project();
    }

    QTemporaryDir m_dir;
    ManualClock m_clock;
};

} // namespace

TEST_F(ProjectBundleTest, EnsureOnDiskLaysOutTheFolder) {
    auto bundle = makeBundle();
    for (const char* name : {"project.json", "media", "thumbnails", "exports", "versions"})
        EXPECT_TRUE(QFileInfo::exists(QDir(bundlePath()).filePath(QString::fromLatin1(name)))) << name;
    EXPECT_EQ(bundle->listVersions().size(), 1u);
    EXPECT_FALSE(bundle->pendingSaveDirty());

    const ClipMediaPaths paths =
        bundle->newClipMediaPaths(QUuid(QStringLiteral("{2f1a7c84-5b1e-4e8b-9c55-0c7d2a8f1e33}")));
    EXPECT_EQ(paths.videoRelative, QStringLiteral("media/clip-2F1A7C84-5B1E-4E8B-9C55-0C7D2A8F1E33.mov"));
    EXPECT_EQ(paths.eventsRelative,
              QStringLiteral("media/clip-2F1A7C84-5B1E-4E8B-9C55-0C7D2A8F1E33-events.json"));
    EXPECT_EQ(paths.cameraPath,
              bundlePath() + QStringLiteral("/media/clip-2F1A7C84-5B1E-4E8B-9C55-0C7D2A8F1E33-camera.mov"));
}

TEST_F(ProjectBundleTest, FirstEditIsWrittenAtOnceAndABurstOncePerSecond) {
    auto bundle = makeBundle();
    m_clock.advance(5); // a quiet second and more

    bundle->update([](Project& p) { p.name = QStringLiteral("one"); });
    EXPECT_EQ(readBack(bundle->projectJSONPath()).name, QStringLiteral("one"));
    EXPECT_FALSE(bundle->pendingSaveDirty());

    m_clock.advance(0.1);
    bundle->update([](Project& p) { p.name = QStringLiteral("two"); });
    m_clock.advance(0.2);
    bundle->update([](Project& p) { p.name = QStringLiteral("three"); });
    EXPECT_EQ(readBack(bundle->projectJSONPath()).name, QStringLiteral("one"));
    EXPECT_TRUE(bundle->pendingSaveDirty());
    ASSERT_EQ(m_clock.pendingTimers(), 1u);
    EXPECT_NEAR(m_clock.pendingDelays()[0], 0.9, 1e-9);

    m_clock.advance(0.69); // 0.99 s after the first save: not yet
    EXPECT_EQ(readBack(bundle->projectJSONPath()).name, QStringLiteral("one"));
    m_clock.advance(0.02);
    EXPECT_EQ(readBack(bundle->projectJSONPath()).name, QStringLiteral("three"));
    EXPECT_FALSE(bundle->pendingSaveDirty());
    EXPECT_EQ(m_clock.pendingTimers(), 0u);
}

TEST_F(ProjectBundleTest, ThrowingMutationKeepsItsPartialChangeAndSaves) {
    auto bundle = makeBundle();
    m_clock.advance(2);
    EXPECT_THROW(bundle->update([](Project& p) {
        p.notes = QStringLiteral("half");
        throw std::runtime_error("stop");
    }),
                 std::runtime_error);
    EXPECT_EQ(bundle->project().notes, QStringLiteral("half"));
    EXPECT_EQ(readBack(bundle->projectJSONPath()).notes, QStringLiteral("half"));
}

TEST_F(ProjectBundleTest, SaveStampsModifiedAtAndDroppingTheBundleCancelsItsTimer) {
    auto bundle = makeBundle();
    m_clock.advance(10);
    bundle->update([](Project& p) { p.name = QStringLiteral("a"); });
    EXPECT_EQ(bundle->project().modifiedAt.toSecsSinceEpoch(), m_clock.now().toSecsSinceEpoch());
    bundle->update([](Project& p) { p.name = QStringLiteral("b"); });
    EXPECT_EQ(m_clock.pendingTimers(), 1u);
    bundle.reset();
    EXPECT_EQ(m_clock.pendingTimers(), 0u);
    m_clock.advance(5);
    EXPECT_EQ(readBack(bundlePath() + QStringLiteral("/project.json")).name, QStringLiteral("a"));
}

TEST_F(ProjectBundleTest, VersionsAreNamedByTimeAndPrunedToThirty) {
    auto bundle = makeBundle();
    // A second save in the same second gets a millisecond suffix.
    m_clock.advance(0.123);
    ASSERT_TRUE(bundle->save());
    auto versions = bundle->listVersions();
    ASSERT_EQ(versions.size(), 2u);
    QStringList names;
    for (const auto& v : versions)
        names << v.rawName;
    names.sort();
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\d{8}-\\d{6}$")).match(names[0]).hasMatch())
        << names[0].toStdString();
    EXPECT_EQ(names[1], names[0] + QStringLiteral("-123"));

    // Give the files distinct ages; the oldest by modification date must go, whatever its name.
    for (int i = 0; i < 30; ++i) {
        m_clock.advance(1);
        ASSERT_TRUE(bundle->save());
    }
    EXPECT_EQ(bundle->listVersions().size(), 30u);

    versions = bundle->listVersions();
    const QString victim = versions.front().path; // newest by date...
    struct utimbuf ancient {
        1000, 1000
    };
    ASSERT_EQ(::utime(QFile::encodeName(victim).constData(), &ancient), 0); // ...made the oldest
    m_clock.advance(1);
    ASSERT_TRUE(bundle->save());
    versions = bundle->listVersions();
    EXPECT_EQ(versions.size(), 30u);
    EXPECT_FALSE(QFileInfo::exists(victim));

    // Every snapshot is a complete document.
    EXPECT_EQ(*bundle->loadVersion(versions.front()), bundle->project());
}

TEST_F(ProjectBundleTest, RestoreAddsAVersion) {
    auto bundle = makeBundle();
    const Project original = bundle->project();
    m_clock.advance(2);
    bundle->update([](Project& p) { p.name = QStringLiteral("changed"); });
    const auto before = bundle->listVersions().size();
    m_clock.advance(2);
    ASSERT_TRUE(bundle->restore(original));
    EXPECT_EQ(bundle->listVersions().size(), before + 1);
    EXPECT_EQ(readBack(bundle->projectJSONPath()).name, original.name);
}

TEST_F(ProjectBundleTest, LoadGatesOnFolderAndSchema) {
    auto missing = ProjectBundle::load(m_dir.filePath(QStringLiteral("Nothing.orvanescreen")));
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().domain, QStringLiteral("OrvaneScreen"));
    EXPECT_EQ(missing.error().code, 1);
    EXPECT_EQ(missing.error().description, QStringLiteral("This isn't a Orvane Screen project."));
    EXPECT_EQ(missing.error().recoverySuggestion,
              QStringLiteral("Choose a folder ending in .orvanescreen that contains a project.json file."));

    QDir().mkpath(bundlePath());
    QFile f(bundlePath() + QStringLiteral("/project.json"));
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(R"({"schemaVersion": 2, "name": "Future"})");
    f.close();
    auto newer = ProjectBundle::load(bundlePath());
    ASSERT_FALSE(newer);
    EXPECT_EQ(newer.error().code, 2);
    EXPECT_EQ(newer.error().description,
              QStringLiteral("Project was created in a newer version of Orvane Screen."));
    EXPECT_EQ(newer.error().recoverySuggestion,
              QStringLiteral("Update the app to the latest version and try again."));

    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(R"({"schemaVersion": 0, "timeline": {"clips": [{"id": 5}]}})");
    f.close();
    auto broken = ProjectBundle::load(bundlePath());
    ASSERT_FALSE(broken);
    EXPECT_TRUE(broken.error().description.contains(QStringLiteral("timeline.clips[0].id")))
        << broken.error().description.toStdString();

    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(R"({"schemaVersion": 0, "name": "Old"})");
    f.close();
    auto old = ProjectBundle::load(bundlePath());
    ASSERT_TRUE(old);
    EXPECT_EQ((*old)->project().name, QStringLiteral("Old"));
}

TEST_F(ProjectBundleTest, PreviewComesFromTheRendererAndNeverFailsASave) {
    int calls = 0;
    ProjectBundle::setPreviewRenderer(
        [&](const Project& p, const QString& path) -> std::optional<QByteArray> {
            ++calls;
            EXPECT_EQ(path, bundlePath());
            return p.name.toUtf8();
        });
    Project p;
    p.name = QStringLiteral("Preview me");
    auto bundle = makeBundle(p);
    QFile preview(bundle->previewImagePath());
    ASSERT_TRUE(preview.open(QIODevice::ReadOnly));
    EXPECT_EQ(preview.readAll(), QByteArray("Preview me"));
    ProjectBundle::setPreviewRenderer(
        [](const Project&, const QString&) { return std::optional<QByteArray>(); });
    m_clock.advance(2);
    EXPECT_TRUE(bundle->save());
    EXPECT_EQ(calls, 1);
    ProjectBundle::setPreviewRenderer({});
}

TEST_F(ProjectBundleTest, AFullDiskFailsTheSaveKeepsItDueAndAFlushRetries) {
    auto bundle = makeBundle(test::randomProject(3));
    m_clock.advance(2);
    // A file-size limit fails writes the way a full disk does, even for root.
    struct rlimit old;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit tiny = old;
    tiny.rlim_cur = 512;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tiny), 0);

    test::LogCapture log;
    bundle->update([](Project& p) { p.name = QStringLiteral("lost?"); });
    const QStringList logged = log.finish();
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &old), 0);
    std::signal(SIGXFSZ, previousHandler);

    ASSERT_EQ(logged.size(), 1);
    EXPECT_TRUE(logged[0].startsWith(QStringLiteral("[ProjectBundle] save failed: ")))
        << logged[0].toStdString();
    EXPECT_TRUE(bundle->pendingSaveDirty());
    EXPECT_NE(readBack(bundle->projectJSONPath()).name, QStringLiteral("lost?"));
    EXPECT_FALSE(QFileInfo::exists(bundle->projectJSONPath() + QStringLiteral(".new")));

    ASSERT_TRUE(bundle->flushPendingSave());
    EXPECT_FALSE(bundle->pendingSaveDirty());
    EXPECT_EQ(readBack(bundle->projectJSONPath()).name, QStringLiteral("lost?"));
}

TEST_F(ProjectBundleTest, AnUnwritableFolderFailsWithTheSystemsText) {
    // A regular file where the folder should be: not even root can write below it.
    QFile blocker(m_dir.filePath(QStringLiteral("blocked")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    ProjectBundle bundle(m_dir.filePath(QStringLiteral("blocked/Demo.orvanescreen")), Project(), m_clock);
    const auto saved = bundle.save();
    ASSERT_FALSE(saved);
    EXPECT_FALSE(saved.error().description.isEmpty());
    bundle.scheduleSave();
    EXPECT_TRUE(bundle.pendingSaveDirty());
    EXPECT_FALSE(bundle.flushPendingSave());
}

TEST_F(ProjectBundleTest, SavesSurviveSigkillAtAnyMoment) {
    const Project big = test::randomProject(9, {40, 30, true});
    auto bundle = makeBundle(big);
    const QString json = bundle->projectJSONPath();
    std::mt19937 rng(5);
    for (int round = 0; round < 25; ++round) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            // Save in a loop with a changing project until killed; no event loop is needed.
            ProjectBundle writer(bundlePath(), big, Clock::system());
            for (int i = 0;; ++i) {
                writer.update([&](Project& p) { p.notes = QString::number(i); });
                (void)writer.save();
            }
        }
        ::usleep(useconds_t(std::uniform_int_distribution<int>(2000, 40000)(rng)));
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));

        QFile f(json);
        ASSERT_TRUE(f.open(QIODevice::ReadOnly));
        const auto decoded = decodeProject(f.readAll());
        ASSERT_TRUE(decoded) << "round " << round << ": " << decoded.error().what();
        EXPECT_EQ(decoded->timeline, big.timeline);
    }
    // A leftover temporary file is never read and goes with the next save.
    QFile leftover(json + QStringLiteral(".new"));
    ASSERT_TRUE(leftover.open(QIODevice::WriteOnly));
    leftover.write("{ not json");
    leftover.close();
    auto reopened = ProjectBundle::load(bundlePath(), m_clock);
    ASSERT_TRUE(reopened);
    m_clock.advance(2);
    ASSERT_TRUE((*reopened)->save());
    EXPECT_FALSE(QFileInfo::exists(json + QStringLiteral(".new")));
}
