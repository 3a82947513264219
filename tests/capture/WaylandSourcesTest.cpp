// Which backend a session gets, and the sources remembered between runs with their restore tokens: the
// file they live in, its order and bounds, and what a damaged or unwritable file does.
#include "capture/CaptureEnvironment.h"
#include "capture/wayland/RememberedSources.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace orvane::test {
namespace {

using Session = CaptureEnvironment::Session;

TEST(CaptureSessionTest, TheSessionTypeDecidesAndTheDisplaysOnlyWhenItIsSilent) {
    EXPECT_EQ(CaptureEnvironment::sessionFrom("wayland", "wayland-0", ":0"), Session::wayland)
        << "Xwayland's display does not make a Wayland session an X11 one";
    EXPECT_EQ(CaptureEnvironment::sessionFrom("Wayland\n", "", ""), Session::wayland);
    EXPECT_EQ(CaptureEnvironment::sessionFrom("x11", "wayland-0", ":0"), Session::x11);
    EXPECT_EQ(CaptureEnvironment::sessionFrom("", "wayland-1", ""), Session::wayland);
    EXPECT_EQ(CaptureEnvironment::sessionFrom("tty", "wayland-1", ""), Session::wayland);
    EXPECT_EQ(CaptureEnvironment::sessionFrom("", "wayland-1", ":1"), Session::x11);
    EXPECT_EQ(CaptureEnvironment::sessionFrom("", "", ":99"), Session::x11);
    EXPECT_EQ(CaptureEnvironment::sessionFrom("", "", ""), Session::x11);
}

RememberedSource source(const QString& id, const QString& token,
                        CaptureSource::Kind kind = CaptureSource::Kind::display) {
    RememberedSource s;
    s.id = id;
    s.kind = kind;
    s.pixelSize = {1920, 1080};
    s.restoreToken = token;
    s.lastUsed = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC);
    return s;
}

TEST(RememberedSourcesTest, KeepsTheNewestFirstAcrossRunsWithinItsBound) {
    QTemporaryDir dir;
    const QString path = QDir(dir.path()).filePath(QStringLiteral("state/remembered.json"));
    {
        RememberedSources store(path);
        EXPECT_TRUE(store.sources().empty());
        ASSERT_TRUE(store.remember(source(QStringLiteral("portal-a"), QStringLiteral("t1"))));
        RememberedSource window =
            source(QStringLiteral("portal-b"), QStringLiteral("t2"), CaptureSource::Kind::window);
        window.cursorInPicture = true;
        ASSERT_TRUE(store.remember(window));
        ASSERT_TRUE(store.remember(source(QStringLiteral("portal-a"), QStringLiteral("t3"))));
    }
    RememberedSources reopened(path);
    ASSERT_EQ(reopened.sources().size(), 2u);
    EXPECT_EQ(reopened.sources()[0], source(QStringLiteral("portal-a"), QStringLiteral("t3")));
    EXPECT_EQ(reopened.sources()[1].kind, CaptureSource::Kind::window);
    EXPECT_TRUE(reopened.sources()[1].cursorInPicture);
    EXPECT_EQ(reopened.find(QStringLiteral("portal-b"))->restoreToken, QStringLiteral("t2"));
    EXPECT_FALSE(reopened.find(QStringLiteral("portal-c")));
    // The tokens start a recording without asking: nobody else may read them.
    EXPECT_EQ(QFileInfo(path).permissions() & (QFileDevice::ReadGroup | QFileDevice::ReadOther),
              QFileDevice::Permissions());

    const CaptureSource asSource = reopened.sources()[1].asSource();
    EXPECT_EQ(asSource.title, QStringLiteral("Window 1920 \u00d7 1080"));
    EXPECT_TRUE(asSource.subtitle.contains(QStringLiteral("cursor is recorded in the picture")));

    for (int i = 0; i < RememberedSources::maximumCount + 3; ++i)
        ASSERT_TRUE(reopened.remember(source(QStringLiteral("portal-%1").arg(i), QStringLiteral("x"))));
    EXPECT_EQ(int(reopened.sources().size()), RememberedSources::maximumCount);
    EXPECT_EQ(reopened.sources()[0].id, QStringLiteral("portal-%1").arg(RememberedSources::maximumCount + 2));
    EXPECT_TRUE(reopened.forget(reopened.sources()[0].id));
    EXPECT_EQ(int(RememberedSources(path).sources().size()), RememberedSources::maximumCount - 1);
}

TEST(RememberedSourcesTest, ADamagedOrUnwritableFileCostsADialogNotAFailure) {
    QTemporaryDir dir;
    const QString path = QDir(dir.path()).filePath(QStringLiteral("remembered.json"));
    for (const QByteArray& bytes :
         {QByteArray("{not json"), QByteArray(R"([{"id": "portal-a", "kind": "app"}])")}) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
        file.close();
        RememberedSources damaged(path);
        EXPECT_TRUE(damaged.sources().empty()) << bytes.constData();
        EXPECT_TRUE(damaged.remember(source(QStringLiteral("portal-a"), QStringLiteral("t"))));
        EXPECT_EQ(RememberedSources(path).sources().size(), 1u);
    }

    // A folder where the file's folder should be: nothing is written, and the list stays as it was.
    QFile blocker(QDir(dir.path()).filePath(QStringLiteral("blocked")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    RememberedSources unwritable(QDir(dir.path()).filePath(QStringLiteral("blocked/remembered.json")));
    EXPECT_FALSE(unwritable.remember(source(QStringLiteral("portal-a"), QStringLiteral("t"))));
    EXPECT_TRUE(unwritable.sources().empty());

    RememberedSources memoryOnly{QString()};
    EXPECT_TRUE(memoryOnly.remember(source(QStringLiteral("portal-a"), QStringLiteral("t"))));
    EXPECT_EQ(memoryOnly.sources().size(), 1u);
}

} // namespace
} // namespace orvane::test
