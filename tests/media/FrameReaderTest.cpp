#include "media/FrameReader.h"

#include "MediaTestSupport.h"
#include "common/AllocationCounter.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace orvane;
using namespace orvane::test;

namespace {

constexpr int frameCount = 60;

// 60 solid frames at 30 fps, each in its own colour, written once for all tests here.
class FrameReaderTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_dir = new QTemporaryDir;
        s_movie = s_dir->filePath(QStringLiteral("frames.mov"));
        auto written = writeTestMovie(s_movie, smallVideoSettings(), frameCount, 30);
        if (!written)
            ADD_FAILURE() << written.error().description.toStdString();
    }
    static void TearDownTestSuite() {
        delete s_dir;
        s_dir = nullptr;
    }

    static std::unique_ptr<FrameReader> open(FrameReaderOptions options = {}) {
        auto reader = FrameReader::open(s_movie, options);
        EXPECT_TRUE(reader) << (reader ? "" : reader.error().description.toStdString());
        return reader ? std::move(*reader) : nullptr;
    }

    // Index of a frame by its colour and by its time; they must agree.
    static int indexOf(const VideoFrame& f) {
        const int byColour = frameIndexOf(f.pixel(f.width() / 2, f.height() / 2), frameCount);
        EXPECT_NEAR(f.time().seconds(), byColour / 30.0, 1e-9);
        return byColour;
    }

    static inline QTemporaryDir* s_dir = nullptr;
    static inline QString s_movie;
};

} // namespace

TEST_F(FrameReaderTest, DeliversEveryFrameInOrderWithItsTimeAndColour) {
    auto reader = open();
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->width(), 320);
    EXPECT_EQ(reader->height(), 240);
    EXPECT_NEAR(reader->frameRate(), 30, 1e-6);
    EXPECT_NEAR(reader->duration(), 2.0, 1e-6);
    for (int i = 0; i < frameCount; ++i) {
        auto frame = reader->next();
        ASSERT_TRUE(frame && *frame) << i;
        const VideoFrame& f = **frame;
        EXPECT_EQ(f.time(), (MediaTime{i * 20, 600})) << i;
        const FrameColour c = frameColour(i);
        const std::uint32_t px = f.pixel(17, 200);
        EXPECT_TRUE(near(std::uint8_t(px >> 16), c.r, 4) && near(std::uint8_t(px >> 8), c.g, 4) &&
                    near(std::uint8_t(px), c.b, 4))
            << "frame " << i << " pixel " << std::hex << px;
        EXPECT_EQ(px >> 24, 0xffu);
    }
    auto end = reader->next();
    ASSERT_TRUE(end);
    EXPECT_FALSE(*end);
    EXPECT_FALSE(reader->endedEarly());
}

TEST_F(FrameReaderTest, SeekDeliversTheFrameOnScreenAtTheTargetThenTheRest) {
    auto reader = open();
    ASSERT_TRUE(reader);
    struct Case {
        double target;
        int firstIndex;
    };
    // Exactly on a frame, between frames, before the start and after the end (the last frame stays on
    // screen).
    for (const Case c : {Case{1.0, 30}, Case{1.01, 30}, Case{1.0 / 30 * 7 - 1e-4, 6}, Case{-1, 0},
                         Case{0.9, 27}, Case{5, 59}}) {
        SCOPED_TRACE(c.target);
        ASSERT_TRUE(reader->seek(c.target));
        auto first = reader->next();
        ASSERT_TRUE(first && *first);
        EXPECT_EQ(indexOf(**first), c.firstIndex);
        if (c.firstIndex + 1 < frameCount) {
            auto second = reader->next();
            ASSERT_TRUE(second && *second);
            EXPECT_EQ(indexOf(**second), c.firstIndex + 1);
        }
    }
}

TEST_F(FrameReaderTest, AClipsRangeReadsFromSourceInUpToSourceOut) {
    auto reader = open();
    ASSERT_TRUE(reader);
    ASSERT_TRUE(reader->seek(0.2));
    reader->setEndTime(0.5);
    std::vector<int> seen;
    while (true) {
        auto f = reader->next();
        ASSERT_TRUE(f);
        if (!*f)
            break;
        seen.push_back(indexOf(**f));
    }
    EXPECT_EQ(seen, (std::vector<int>{6, 7, 8, 9, 10, 11, 12, 13, 14}));
    // A new range after the end was reached.
    reader->setEndTime(std::nullopt);
    ASSERT_TRUE(reader->seek(1.9));
    auto tail = reader->next();
    ASSERT_TRUE(tail && *tail);
    EXPECT_EQ(indexOf(**tail), 57);
}

TEST_F(FrameReaderTest, FrameAtFindsStillsForwardAndBackward) {
    auto reader = open();
    ASSERT_TRUE(reader);
    // Forward steps decode onwards, large or backward steps seek; the same frame may be asked for twice.
    const double times[] = {0.0, 0.05, 0.05, 0.5, 0.51, 1.2, 1.95, 0.1, 1.0 / 3, 10.0, 0.0};
    for (double t : times) {
        SCOPED_TRACE(t);
        auto f = reader->frameAt(t);
        ASSERT_TRUE(f && *f);
        const int expected = std::min(frameCount - 1, int(std::floor(t * 30 + 1e-9)));
        EXPECT_EQ(indexOf(**f), expected);
    }
}

TEST_F(FrameReaderTest, PlanesFastPathGivesTheDecodersI420) {
    auto reader = open();
    ASSERT_TRUE(reader);
    ASSERT_TRUE(reader->seek(1.0));
    auto planes = reader->nextPlanes();
    ASSERT_TRUE(planes && *planes);
    const PlanarPicture& p = **planes;
    EXPECT_EQ(p.format, PlanarFormat::i420);
    EXPECT_EQ(p.width, 320);
    EXPECT_EQ(p.height, 240);
    EXPECT_EQ(p.matrix, YuvMatrix::bt601); // the writer tags its files
    EXPECT_EQ(p.time, (MediaTime{600, 600}));
    VideoFrame converted = VideoFrame::allocate(320, 240);
    ASSERT_TRUE(convertToBgra(p, converted));
    EXPECT_EQ(frameIndexOf(converted.pixel(100, 100), frameCount), 30);
}

TEST_F(FrameReaderTest, SteadyStateReadingAllocatesNothing) {
    auto reader = open({.track = 0, .decoderThreads = 1, .maxFramesInFlight = 0});
    ASSERT_TRUE(reader);
    for (int i = 0; i < 10; ++i)
        ASSERT_TRUE(reader->next());
    test::AllocationScope scope;
    for (int i = 0; i < 30; ++i) {
        auto f = reader->next();
        ASSERT_TRUE(f && *f);
    }
    EXPECT_EQ(scope.allocations(), 0u);
}

TEST_F(FrameReaderTest, ALimitedPoolSaysNotReadyWhileTheCallerHoldsEveryFrame) {
    auto reader = open({.track = 0, .decoderThreads = 1, .maxFramesInFlight = 2});
    ASSERT_TRUE(reader);
    auto a = reader->next();
    auto b = reader->next();
    ASSERT_TRUE(a && *a && b && *b);
    auto c = reader->next();
    ASSERT_FALSE(c);
    EXPECT_TRUE(c.error().is(MediaError::notReady));
}

TEST(FrameReaderFormats, ConvertsOtherLayoutsAndPremultipliesAlpha) {
    ORVANE_REQUIRE_FFMPEG();
    QTemporaryDir dir;
    struct Case {
        const char* name;
        QStringList codec;
        const char* source;
        std::uint32_t expected; // 0xAARRGGBB
    };
    const Case cases[] = {
        // 4:4:4, full-range JPEG 4:2:0, 4:2:2 10-bit (swscale path), and RGBA with half alpha
        // (premultiplied).
        {"yuv444.mkv",
         {QStringLiteral("-c:v"), QStringLiteral("libx264"), QStringLiteral("-pix_fmt"),
          QStringLiteral("yuv444p")},
         "color=c=0x3366CC:size=64x48:duration=0.2",
         0xff3366cc},
        {"mjpeg.mkv",
         {QStringLiteral("-c:v"), QStringLiteral("mjpeg"), QStringLiteral("-q:v"), QStringLiteral("2")},
         "color=c=0x3366CC:size=64x48:duration=0.2",
         0xff3366cc},
        {"prores.mov",
         {QStringLiteral("-c:v"), QStringLiteral("prores_ks")},
         "color=c=0x3366CC:size=64x48:duration=0.2",
         0xff3366cc},
        {"alpha.mov",
         {QStringLiteral("-c:v"), QStringLiteral("png"), QStringLiteral("-pix_fmt"), QStringLiteral("rgba")},
         "color=c=0xFF0000@0.5:size=64x48:duration=0.2,format=rgba",
         0x80800000},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QString file = dir.filePath(QString::fromLatin1(c.name));
        const QStringList args{QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                               QString::fromLatin1(c.source)};
        ASSERT_TRUE(ffmpegMake(args + c.codec, file));
        auto reader = FrameReader::open(file);
        ASSERT_TRUE(reader) << reader.error().description.toStdString();
        auto frame = (*reader)->next();
        ASSERT_TRUE(frame && *frame);
        const std::uint32_t px = (*frame)->pixel(30, 20);
        for (int shift : {24, 16, 8, 0})
            EXPECT_NEAR(int((px >> shift) & 0xff), int((c.expected >> shift) & 0xff), 4)
                << std::hex << px << " vs " << c.expected;
    }
}
