// The PipeWire reader against a real daemon and session manager, fed by a video source node of the test's
// own that numbers its frames in the picture and moves a cursor in the metadata: the frames arrive in
// order with their pixels and cursor, and a source or daemon that goes away ends the stream once.
#include "capture/wayland/PipeWireStream.h"

#include "PipeWireTestSupport.h"

#include <QDeadlineTimer>
#include <QThread>

#include <gtest/gtest.h>
#include <unistd.h>

#include <mutex>

namespace orvane::test {
namespace {

struct Seen {
    int width = 0;
    int height = 0;
    int stride = 0;
    PipeWireStream::PixelOrder order = PipeWireStream::PixelOrder::rgba;
    std::uint8_t blue = 0;
    std::uint8_t green = 0;
    std::uint64_t sequence = 0;
    std::int64_t arrivalNs = 0;
    std::optional<PipeWireStream::Cursor> cursor;
};

class PipeWireStreamTest : public ::testing::Test {
protected:
    void SetUp() override {
        QString why;
        session = PipeWireSession::start(&why);
        if (!session)
            GTEST_SKIP() << "no PipeWire session: " << why.toStdString();
        source = TestVideoSource::start(session->connect(), 64, 48, 30, &why);
        ASSERT_NE(source, nullptr) << why.toStdString();
        QDeadlineTimer deadline(5000);
        while (source->nodeId() == 0 && !deadline.hasExpired())
            QThread::msleep(20);
        ASSERT_NE(source->nodeId(), 0u) << "the source got no node";
    }

    std::unique_ptr<PipeWireStream> openReader() {
        PipeWireStream::Options options;
        const int remote = session->connect();
        options.remoteFd = remote;
        options.nodeId = source->nodeId();
        options.onFrame = [this](const PipeWireStream::Frame& frame) {
            const std::lock_guard lock(mutex);
            seen.push_back({frame.width, frame.height, frame.stride, frame.order, frame.pixels[0],
                            frame.pixels[1], frame.sequence, frame.arrivalNs, frame.cursor});
        };
        options.onEnded = [this](const QString& why) {
            const std::lock_guard lock(mutex);
            endings << why;
        };
        auto reader = PipeWireStream::open(std::move(options));
        ::close(remote); // the reader keeps its own copy
        EXPECT_TRUE(reader.has_value()) << (reader ? "" : reader.error().toStdString());
        return reader ? std::move(*reader) : nullptr;
    }

    bool waitFor(const std::function<bool()>& done, int ms) {
        QDeadlineTimer deadline(ms);
        while (!deadline.hasExpired()) {
            {
                const std::lock_guard lock(mutex);
                if (done())
                    return true;
            }
            QThread::msleep(20);
        }
        const std::lock_guard lock(mutex);
        return done();
    }

    std::unique_ptr<PipeWireSession> session;
    std::unique_ptr<TestVideoSource> source;
    std::mutex mutex; // guards seen and endings
    std::vector<Seen> seen;
    QStringList endings;
};

// Every frame the source draws after the link arrives once, in order, as the source drew it, with the
// cursor of that frame; the size and byte order are what was negotiated.
TEST_F(PipeWireStreamTest, FramesArriveInOrderWithTheirPixelsAndCursor) {
    const auto reader = openReader();
    ASSERT_NE(reader, nullptr);
    ASSERT_TRUE(waitFor([&] { return seen.size() >= 30; }, 10000)) << "frames: " << seen.size();
    reader->stop();
    const std::size_t count = seen.size();
    QThread::msleep(200);
    EXPECT_EQ(seen.size(), count) << "nothing arrives after stop";
    EXPECT_EQ(reader->size(), std::make_pair(0, 0)) << "a stopped reader reports nothing";

    for (std::size_t i = 0; i < seen.size(); ++i) {
        const Seen& s = seen[i];
        SCOPED_TRACE(i);
        EXPECT_EQ(s.width, 64);
        EXPECT_EQ(s.height, 48);
        EXPECT_GE(s.stride, 64 * 4);
        EXPECT_EQ(s.order, PipeWireStream::PixelOrder::bgrx);
        EXPECT_EQ(s.blue, std::uint8_t(s.sequence & 0xFF)) << "the picture belongs to its own frame";
        EXPECT_EQ(s.green, 0x5A);
        ASSERT_TRUE(s.cursor.has_value());
        EXPECT_EQ(s.cursor->x, int(s.sequence));
        EXPECT_EQ(s.cursor->y, int(2 * s.sequence));
        EXPECT_EQ(s.cursor->hotspotX, 1);
        EXPECT_EQ(s.cursor->hotspotY, 2);
        if (i > 0) {
            EXPECT_EQ(s.sequence, seen[i - 1].sequence + 1) << "no frame lost or repeated";
            EXPECT_GT(s.arrivalNs, seen[i - 1].arrivalNs);
        }
    }
    EXPECT_TRUE(endings.isEmpty()) << endings.join(u'|').toStdString();
}

// The source leaving ends the stream once, with a reason; so does the daemon going away.
TEST_F(PipeWireStreamTest, ASourceOrDaemonGoingAwayEndsTheStreamOnce) {
    auto reader = openReader();
    ASSERT_NE(reader, nullptr);
    ASSERT_TRUE(waitFor([&] { return seen.size() >= 5; }, 10000));
    source->stop();
    ASSERT_TRUE(waitFor([&] { return !endings.isEmpty(); }, 5000)) << "the reader never heard the source go";
    reader->stop();
    EXPECT_EQ(endings.size(), 1);

    // A second reader on a new source, then the daemon dies under it.
    seen.clear();
    endings.clear();
    QString why;
    source = TestVideoSource::start(session->connect(), 64, 48, 30, &why);
    ASSERT_NE(source, nullptr) << why.toStdString();
    QDeadlineTimer deadline(5000);
    while (source->nodeId() == 0 && !deadline.hasExpired())
        QThread::msleep(20);
    reader = openReader();
    ASSERT_NE(reader, nullptr);
    ASSERT_TRUE(waitFor([&] { return seen.size() >= 5; }, 10000));
    session->kill();
    ASSERT_TRUE(waitFor([&] { return !endings.isEmpty(); }, 5000)) << "the reader never heard the daemon go";
    reader->stop();
    EXPECT_EQ(endings.size(), 1);
    source->stop();
}

} // namespace
} // namespace orvane::test
