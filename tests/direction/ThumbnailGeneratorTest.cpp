// The welcome card's picture: which frame, how large, and what happens with files that are no movies.
#include "direction/ThumbnailGenerator.h"

#include "media/GradientMovie.h"
#include "project/RecentProjectsStore.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace orvane;

namespace {

// The mean colour of an image: the gradient's colours drift with time, so equal means tell equal frames.
QColor meanColour(const QImage& image) {
    double r = 0, g = 0, b = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = image.pixelColor(x, y);
            r += c.redF();
            g += c.greenF();
            b += c.blueF();
        }
    const double n = double(image.width()) * image.height();
    return QColor::fromRgbF(float(r / n), float(g / n), float(b / n));
}

double distance(const QColor& a, const QColor& b) {
    return std::abs(a.redF() - b.redF()) + std::abs(a.greenF() - b.greenF()) +
           std::abs(a.blueF() - b.blueF());
}

} // namespace

TEST(ThumbnailGenerator, TakesTheFrameAtTheTimeHeldInsideTheMovieAndFitsItWithoutEnlarging) {
    QTemporaryDir dir;
    const QString movie = dir.filePath(QStringLiteral("half-second.mov"));
    ASSERT_TRUE(writeGradientMovie(movie, Size{1280, 720}, 0.5, 30).has_value());

    // A second asked of a half-second movie is its moment at 0.45 s, not its first frame.
    const QString late = dir.filePath(QStringLiteral("cards/late.jpg"));
    const QString atEnd = dir.filePath(QStringLiteral("cards/end.jpg"));
    const QString atStart = dir.filePath(QStringLiteral("cards/start.jpg"));
    ASSERT_TRUE(ThumbnailGenerator::generate(movie, 1.0, QSize(320, 180), late));
    ASSERT_TRUE(ThumbnailGenerator::generate(movie, 0.45, QSize(320, 180), atEnd));
    ASSERT_TRUE(ThumbnailGenerator::generate(movie, -3, QSize(320, 180), atStart));
    const QImage lateImage(late), endImage(atEnd), startImage(atStart);
    ASSERT_FALSE(lateImage.isNull());
    EXPECT_EQ(lateImage.size(), QSize(320, 180));
    EXPECT_LT(distance(meanColour(lateImage), meanColour(endImage)), 0.01);
    EXPECT_GT(distance(meanColour(lateImage), meanColour(startImage)), 0.05);

    // Proportions kept in a box of another shape; a small movie keeps its own size.
    const QString square = dir.filePath(QStringLiteral("square.jpg"));
    ASSERT_TRUE(ThumbnailGenerator::generate(movie, 0, QSize(200, 200), square));
    EXPECT_EQ(QImage(square).size(), QSize(200, 112));
    const QString small = dir.filePath(QStringLiteral("small.mov"));
    ASSERT_TRUE(writeGradientMovie(small, Size{160, 90}, 0.2, 30).has_value());
    const QString smallCard = dir.filePath(QStringLiteral("small.jpg"));
    ASSERT_TRUE(ThumbnailGenerator::generate(small, 1, QSize(320, 180), smallCard));
    EXPECT_EQ(QImage(smallCard).size(), QSize(160, 90));
}

TEST(ThumbnailGenerator, AnythingButAReadableMovieGivesNoCardAndNoFile) {
    QTemporaryDir dir;
    const QString card = dir.filePath(QStringLiteral("card.jpg"));
    EXPECT_FALSE(
        ThumbnailGenerator::generate(dir.filePath(QStringLiteral("missing.mov")), 1, QSize(320, 180), card));
    QFile junk(dir.filePath(QStringLiteral("junk.mov")));
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write("not a movie at all");
    junk.close();
    EXPECT_FALSE(ThumbnailGenerator::generate(junk.fileName(), 1, QSize(320, 180), card));
    EXPECT_FALSE(QFile::exists(card));

    const QString movie = dir.filePath(QStringLiteral("m.mov"));
    ASSERT_TRUE(writeGradientMovie(movie, Size{320, 180}, 0.2, 30).has_value());
    // A destination under a file cannot be made.
    EXPECT_FALSE(ThumbnailGenerator::generate(movie, 0, QSize(320, 180),
                                              junk.fileName() + QStringLiteral("/card.jpg")));
}

TEST(ThumbnailGenerator, ARegisteredProjectGetsItsCardFromItsFirstClip) {
    QTemporaryDir dir;
    UserDefaults defaults(dir.filePath(QStringLiteral("defaults.ini")));
    RecentProjectsStore store(defaults);
    store.setThumbnailGenerator(&ThumbnailGenerator::generate);

    Project project;
    project.name = QStringLiteral("Card");
    Clip clip = project.makeClip(QStringLiteral("First"), ProjectTime(2), Size{640, 360});
    clip.sourceVideoPath = QStringLiteral("media/first.mov");
    project.timeline.clips.push_back(clip);
    ProjectBundle bundle(dir.filePath(QStringLiteral("Card.orvanescreen")), project);
    ASSERT_TRUE(bundle.ensureOnDisk().has_value());
    ASSERT_TRUE(
        writeGradientMovie(bundle.mediaPath(clip.sourceVideoPath), Size{640, 360}, 2, 30).has_value());

    bool finished = false, made = false;
    QObject::connect(&store, &RecentProjectsStore::thumbnailGenerationFinished,
                     [&](const QUuid&, bool ok) { finished = true, made = ok; });
    store.registerBundle(bundle);
    QElapsedTimer clock;
    clock.start();
    while (!finished && clock.elapsed() < 20000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    ASSERT_TRUE(made);
    const auto path = store.thumbnailPath(store.projects().front());
    ASSERT_TRUE(path.has_value());
    EXPECT_EQ(QImage(*path).size(), QSize(320, 180));
}
