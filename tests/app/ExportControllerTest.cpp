// isExporting follows the export queue whoever queued the job, and the starts that must not overlap an
// export are refused while it runs.
#include "app/ExportController.h"

#include "AppTestSupport.h"
#include "app/AppState.h"
#include "capture/X11TestSupport.h"
#include "support/Clock.h"
#include "support/UserDefaults.h"

#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>

using namespace orvane;
using namespace std::chrono_literals;

namespace {

// A render that holds its worker thread until the test lets it end.
struct Gate {
    std::mutex lock;
    std::condition_variable wake;
    bool started = false;
    bool open = false;
};

class GatedRunner : public ExportQueue::Runner {
public:
    explicit GatedRunner(std::shared_ptr<Gate> gate)
        : m_gate(std::move(gate)) {}
    tl::expected<void, ExporterError> run(const Project&, const QString&, const ExportConfiguration&,
                                          const Exporter::Progress&) override {
        std::unique_lock guard(m_gate->lock);
        m_gate->started = true;
        m_gate->wake.wait(guard, [&] { return m_gate->open; });
        return {};
    }
    void cancel() override {}

private:
    std::shared_ptr<Gate> m_gate;
};

class ExportControllerTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_dir.isValid());
        ASSERT_TRUE(m_app.createProject(QStringLiteral("Export"), 1280, 720, 30));
        m_app.currentBundle()->update([](Project& p) {
            p.timeline.clips.push_back(p.makeClip(QStringLiteral("Clip"), ProjectTime(1), Size{1280, 720}));
        });
    }

    void release() {
        {
            std::lock_guard guard(m_gate->lock);
            m_gate->open = true;
        }
        m_gate->wake.notify_all();
    }

    test::PrivateApp m_private;
    QTemporaryDir& m_dir = m_private.dir;
    AppState& m_app = m_private.app;
    std::shared_ptr<Gate> m_gate = std::make_shared<Gate>();
    ExportQueue m_queue{[gate = m_gate] {
        return std::make_unique<GatedRunner>(gate);
    }};
    ExportController m_controller{m_app, m_queue};
};

} // namespace

TEST_F(ExportControllerTest, IsExportingWhileTheQueueRunsAJobAndRefusesARecordingStart) {
    QSignalSpy changes(&m_app, &AppState::isExportingChanged);
    const auto queued = m_controller.apiExport(QStringLiteral("web1080"), QStringLiteral("h264"),
                                               m_dir.filePath(QStringLiteral("out.mp4")));
    ASSERT_TRUE(queued.has_value()) << queued.error().description.toStdString();
    ASSERT_TRUE(test::processEventsUntil([&] { return m_app.isExporting(); }, 5s));

    // What the automation start and the window's start both check.
    PermissionsState granted;
    granted.screenRecording = PermissionsState::Status::granted;
    m_app.setPermissions(granted);
    CaptureSource display;
    display.id = QStringLiteral("display-1");
    display.kind = CaptureSource::Kind::display;
    m_app.setAvailableSources({display});
    m_app.setSelectedSourceID(display.id);
    EXPECT_FALSE(m_app.canStartRecording());
    m_app.apiBeginCaptureNoCountdown();
    EXPECT_TRUE(m_app.recordingPhase().isIdle());

    // A second job queued behind the first keeps the flag up until the queue has nothing running.
    ASSERT_TRUE(m_controller.apiExport(QStringLiteral("4k"), QStringLiteral("hevc"),
                                       m_dir.filePath(QStringLiteral("second.mp4"))));
    release();
    ASSERT_TRUE(
        test::processEventsUntil([&] { return !m_app.isExporting() && !m_queue.hasActiveWork(); }, 10s));
    EXPECT_TRUE(m_app.canStartRecording());
    // Up once, down once: the flag does not flicker between the two jobs.
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(ExportControllerTest, RefusesWithoutAProjectOrClips) {
    ASSERT_TRUE(m_app.createProject(QStringLiteral("Empty"), 1280, 720, 30));
    const auto empty = m_controller.apiExport({}, {}, std::nullopt);
    ASSERT_FALSE(empty.has_value());
    EXPECT_EQ(empty.error().description, QStringLiteral("Project has no clips to export"));
    EXPECT_EQ(empty.error().domain, QStringLiteral("OrvaneScreen.API"));
    EXPECT_FALSE(m_app.isExporting());
}
