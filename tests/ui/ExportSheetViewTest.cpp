#include "ExportUiTestSupport.h"
#include "common/PrivateSessionBus.h"
#include "export/ExportQueue.h"
#include "ui/AppViewModel.h"
#include "ui/PortalSavePanel.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QQmlProperty>
#include <QTimer>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;
using Container = ExportConfiguration::Container;
using Codec = ExportConfiguration::Codec;

// Stands in for the desktop's portal: records each SaveFile and answers it on the request object the
// portal protocol names, a moment later, the way the real one answers once the user has chosen.
class FakeFileChooser : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.FileChooser")
public:
    explicit FakeFileChooser(QDBusConnection connection)
        : m_connection(std::move(connection)) {}

    struct Asked {
        QString parentWindow;
        QString title;
        QString currentName;
        QByteArray currentFolder;
        QString filterPattern;
    };
    QList<Asked> asked;
    // The next answer: 0 with a file, or 1 for Cancel.
    uint response = 0;
    QString file;

public Q_SLOTS:
    QDBusObjectPath SaveFile(const QString& parentWindow, const QString& title, const QVariantMap& options,
                             const QDBusMessage& message) {
        Asked a{parentWindow,
                title,
                options.value(QStringLiteral("current_name")).toString(),
                options.value(QStringLiteral("current_folder")).toByteArray(),
                {}};
        // current_filter is (sa(us)): the label, then one rule of kind 0 with the glob.
        const QDBusArgument filter = options.value(QStringLiteral("current_filter")).value<QDBusArgument>();
        filter.beginStructure();
        QString label;
        filter >> label;
        filter.beginArray();
        while (!filter.atEnd()) {
            uint kind = 0;
            filter.beginStructure();
            filter >> kind >> a.filterPattern;
            filter.endStructure();
        }
        filter.endArray();
        filter.endStructure();
        asked << a;

        QString sender = message.service().mid(1);
        sender.replace(u'.', u'_');
        const QString path = QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2")
                                 .arg(sender, options.value(QStringLiteral("handle_token")).toString());
        QTimer::singleShot(50, this, [this, path, code = response, chosen = file] {
            QDBusMessage signal = QDBusMessage::createSignal(
                path, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
            QVariantMap results;
            if (code == 0)
                results.insert(QStringLiteral("uris"), QStringList{QUrl::fromLocalFile(chosen).toString()});
            signal << code << results;
            m_connection.send(signal);
        });
        return QDBusObjectPath(path);
    }

private:
    QDBusConnection m_connection;
};

// The export sheet on the real window over a project with a real two-second movie: what its controls
// set, what its summary says, and what Export hands to the queue.
class ExportSheetViewTest : public UiTest {
protected:
    void choose(UiHarness& ui, const char* objectName) {
        QQuickItem* item = ui.waitFor(QString::fromLatin1(objectName));
        ASSERT_NE(item, nullptr) << objectName;
        ui.click(item);
        QTest::qWait(20);
    }

    QString summary(UiHarness& ui, const char* key) {
        return itemText(ui.find(QString::fromLatin1(key) + QStringLiteral(".value")));
    }

    // The file type and the codec as the view shows them: the selected option of each picker.
    std::pair<int, int> shownFormatAndCodec(UiHarness& ui) {
        return {ui.find(QStringLiteral("export.container"))->property("currentIndex").toInt(),
                ui.find(QStringLiteral("export.codec"), true)->property("currentIndex").toInt()};
    }
};

// Each preset sets the file type and codec it asks for and the summary follows; GIF leaves the codec as
// it was, and what the user picks afterwards sticks until the next preset.
TEST_F(ExportSheetViewTest, PresetsSetTheFileTypeAndCodecAndTheUserMayChangeThem) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ASSERT_NE(openExportProject(ui, QStringLiteral("Presets"), 2), nullptr);
    ExportSheetViewModel* sheet = openExportSheet(ui);
    ASSERT_NE(sheet, nullptr);

    // The defaults: 1080p, MP4, H.264, sound on, no recompose.
    EXPECT_EQ(shownFormatAndCodec(ui), std::make_pair(0, 0));
    EXPECT_TRUE(ui.find(QStringLiteral("export.preset.web1080"))->property("selected").toBool());
    EXPECT_TRUE(ui.find(QStringLiteral("export.includeAudio"))->property("checked").toBool());
    EXPECT_EQ(itemText(ui.find(QStringLiteral("export.preset.socialSquare"))),
              QStringLiteral("Social Square (1080×1080)"));

    struct Step {
        const char* click;
        Container format;
        Codec codec;
        const char* resolution;
        const char* frameRate;
    };
    const Step steps[] = {
        {"export.preset.web4K", Container::mp4, Codec::hevc, "3840×2160", "60 fps"},
        {"export.codec.prores", Container::mp4, Codec::prores, "3840×2160", "60 fps"},
        {"export.preset.gif", Container::gif, Codec::prores, "800×600", "24 fps"},
        {"export.container.mov", Container::mov, Codec::prores, "800×600", "24 fps"},
        {"export.preset.socialVertical", Container::mp4, Codec::h264, "1080×1920", "60 fps"},
        {"export.container.mov", Container::mov, Codec::h264, "1080×1920", "60 fps"},
        {"export.preset.web1080", Container::mp4, Codec::h264, "1920×1080", "60 fps"},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.click);
        choose(ui, step.click);
        EXPECT_EQ(sheet->sheet().format(), step.format);
        EXPECT_EQ(sheet->sheet().codec(), step.codec);
        EXPECT_EQ(shownFormatAndCodec(ui), std::make_pair(int(step.format), int(step.codec)));
        EXPECT_EQ(summary(ui, "export.summary.resolution"), QString::fromUtf8(step.resolution));
        EXPECT_EQ(summary(ui, "export.summary.frameRate"), QString::fromLatin1(step.frameRate));
        // A GIF has no codec to choose: the picker stands aside but keeps the choice.
        EXPECT_EQ(ui.find(QStringLiteral("export.codec"), true)->isEnabled(), step.format != Container::gif);
    }

    // The presets answer the keyboard as well: Return on a focused one chooses it.
    QQuickItem* square = ui.find(QStringLiteral("export.preset.socialSquare"));
    square->forceActiveFocus(Qt::TabFocusReason);
    ui.key(Qt::Key_Return);
    EXPECT_EQ(sheet->sheet().preset(), ExportSheetModel::Preset::socialSquare);
    EXPECT_EQ(summary(ui, "export.summary.resolution"), QStringLiteral("1080×1080"));

    // Closing forgets it all: the next sheet starts from the defaults with a view model of its own.
    ui.key(Qt::Key_Escape);
    ASSERT_TRUE(waitUntil([&] { return !exportSheetShows(ui); }));
    ExportSheetViewModel* again = openExportSheet(ui);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again->sheet().preset(), ExportSheetModel::Preset::web1080);
    EXPECT_EQ(summary(ui, "export.summary.resolution"), QStringLiteral("1920×1080"));
}

// The summary reads the project: its length, and the size estimate for the preset and codec, and it
// follows an edit made while the sheet is open.
TEST_F(ExportSheetViewTest, TheSummaryEstimatesFromTheProjectsLength) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    const auto bundle = openExportProject(ui, QStringLiteral("Estimate"), 2);
    ASSERT_NE(bundle, nullptr);
    ASSERT_NEAR(bundle->project().timeline.duration().seconds, 2.0, 0.05);
    ASSERT_NE(openExportSheet(ui), nullptr);

    EXPECT_EQ(summary(ui, "export.summary.duration"), QStringLiteral("0:02"));
    // 12 Mbit/s for two seconds is 3 MB; HEVC takes 0.6 of that, ProRes six times.
    EXPECT_EQ(summary(ui, "export.summary.estSize"), QStringLiteral("~3 MB"));
    choose(ui, "export.codec.hevc");
    EXPECT_EQ(summary(ui, "export.summary.estSize"), QStringLiteral("~2 MB"));
    choose(ui, "export.codec.prores");
    EXPECT_EQ(summary(ui, "export.summary.estSize"), QStringLiteral("~18 MB"));
    choose(ui, "export.preset.gif");
    EXPECT_EQ(summary(ui, "export.summary.estSize"), QStringLiteral("—"));

    // One second of the square preset is a million bytes: the megabyte figure counts in thousands.
    choose(ui, "export.preset.socialSquare");
    bundle->update([](Project& p) { p.timeline.clips.front().sourceOut = ProjectTime(1.0); });
    EXPECT_EQ(summary(ui, "export.summary.duration"), QStringLiteral("0:01"));
    EXPECT_EQ(summary(ui, "export.summary.estSize"), QStringLiteral("~1 MB"));
    bundle->update([](Project& p) { p.timeline.clips.front().sourceOut = ProjectTime(0.9); });
    EXPECT_EQ(summary(ui, "export.summary.duration"), QStringLiteral("0:00"));
    EXPECT_EQ(summary(ui, "export.summary.estSize"), QStringLiteral("~879 KB"));
}

// Recompose is offered only with the square and vertical presets; its strategy shows while it is on.
// Exporting with it reframes the clip before the job joins the queue, and the framing stays.
TEST_F(ExportSheetViewTest, RecomposeIsForSocialPresetsAndReframesBeforeTheExport) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    const auto bundle = openExportProject(ui, QStringLiteral("Reframe"), 1);
    ASSERT_NE(bundle, nullptr);
    ExportSheetViewModel* sheet = openExportSheet(ui);
    ASSERT_NE(sheet, nullptr);

    QQuickItem* recompose = ui.find(QStringLiteral("export.autoRecompose"));
    ASSERT_NE(recompose, nullptr);
    EXPECT_FALSE(recompose->isEnabled());
    ui.click(recompose);
    EXPECT_FALSE(sheet->autoRecompose()) << "a web preset keeps its shape";
    EXPECT_EQ(ui.find(QStringLiteral("export.recomposeStrategy")), nullptr);

    choose(ui, "export.preset.socialVertical");
    ASSERT_TRUE(recompose->isEnabled());
    ui.click(recompose);
    EXPECT_TRUE(sheet->autoRecompose());
    ASSERT_NE(ui.waitFor(QStringLiteral("export.recomposeStrategy")), nullptr);
    choose(ui, "export.recomposeStrategy.centerWeighted");
    EXPECT_EQ(sheet->sheet().recomposeStrategy(), ExportSheetModel::RecomposeStrategy::centerWeighted);

    // Back on a web preset the option is off in effect, and its strategy goes.
    choose(ui, "export.preset.web1080");
    EXPECT_FALSE(recompose->property("checked").toBool());
    EXPECT_EQ(ui.find(QStringLiteral("export.recomposeStrategy")), nullptr);
    EXPECT_FALSE(sheet->sheet().recomposeTargetAspect().has_value());

    choose(ui, "export.preset.socialVertical");
    EXPECT_TRUE(recompose->property("checked").toBool()) << "the choice comes back with the shape";
    const QString output = ui.dir.filePath(QStringLiteral("vertical.mp4"));
    SavePanelAnswers answers({output});
    choose(ui, "export.exportButton");
    EXPECT_TRUE(waitUntil([&] { return !exportSheetShows(ui); })) << "the sheet goes at once";

    ASSERT_TRUE(waitUntil([&] { return !ui.app->exportQueue().jobs().empty(); }, 20s));
    const Clip& clip = bundle->project().timeline.clips.front();
    ASSERT_FALSE(clip.zoomTrack.isEmpty()) << "reframed before the job was queued";
    // A 16:9 source in a 9:16 window: the full height and 0.3164 of the width, drifting about the centre.
    for (const auto& k : clip.zoomTrack.keyframes) {
        EXPECT_NEAR(k.value.width, 0.31640625, 1e-9);
        EXPECT_NEAR(k.value.height, 1, 1e-9);
        EXPECT_NEAR(k.value.x + k.value.width / 2, 0.5, 0.031);
    }
    ASSERT_TRUE(waitUntil([&] { return ui.app->exportQueue().jobs().front().state.isFinished(); }, 60s));
    ASSERT_TRUE(std::holds_alternative<ExportQueue::JobState::Completed>(
        ui.app->exportQueue().jobs().front().state.value))
        << ExportQueue::statusText(ui.app->exportQueue().jobs().front()).toStdString();
    const auto video = probeFirstStream(output, QStringLiteral("v"), QStringLiteral("width,height"));
    EXPECT_EQ(video.value(QStringLiteral("width")), QStringLiteral("1080"));
    EXPECT_EQ(video.value(QStringLiteral("height")), QStringLiteral("1920"));
}

// Cancel in the save panel leaves the sheet as it was; a path queues the export with the sheet's choices
// and closes it. Without a stand-in the view's own panel asks, with the format's file name.
TEST_F(ExportSheetViewTest, TheSavePanelDecidesWhetherTheSheetSubmits) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ASSERT_NE(openExportProject(ui, QStringLiteral("Demo Take"), 1), nullptr);
    ExportSheetViewModel* sheet = openExportSheet(ui);
    ASSERT_NE(sheet, nullptr);
    choose(ui, "export.preset.gif");

    {
        SavePanelAnswers cancel({std::nullopt});
        choose(ui, "export.exportButton");
        EXPECT_EQ(cancel.suggested, QStringList{QStringLiteral("Demo Take.gif")});
    }
    QTest::qWait(100);
    EXPECT_TRUE(exportSheetShows(ui));
    EXPECT_TRUE(ui.app->exportQueue().jobs().empty());
    EXPECT_EQ(sheet->sheet().preset(), ExportSheetModel::Preset::gif) << "the sheet keeps its state";

    // The toolkit's panel, as where the session has no bus: its choice is what the program acts on.
    ui.desktop->viewModel().savePanel().setConnection(QDBusConnection(QStringLiteral("no-session-bus")));
    choose(ui, "export.container.mov");
    choose(ui, "export.includeAudio");
    choose(ui, "export.exportButton");
    QObject* panel = nullptr;
    ASSERT_TRUE(waitUntil([&] {
        panel = ui.window()->findChild<QObject*>(QStringLiteral("export.savePanel"));
        return panel && panel->property("visible").toBool();
    }));
    EXPECT_EQ(panel->property("title").toString(), QStringLiteral("Export Movie"));
    EXPECT_TRUE(
        panel->property("selectedFile").toUrl().toLocalFile().endsWith(QStringLiteral("/Demo Take.mov")));
    EXPECT_TRUE(panel->property("nameFilters").toStringList().join(u';').contains(QStringLiteral("*.mov")));
    QMetaObject::invokeMethod(panel, "reject");
    QTest::qWait(100);
    EXPECT_TRUE(exportSheetShows(ui));

    choose(ui, "export.exportButton");
    ASSERT_TRUE(waitUntil([&] { return panel->property("visible").toBool(); }));
    const QString output = ui.dir.filePath(QStringLiteral("chosen.mov"));
    panel->setProperty("selectedFile", QUrl::fromLocalFile(output));
    QMetaObject::invokeMethod(panel, "accepted");
    ASSERT_TRUE(waitUntil([&] { return !exportSheetShows(ui); }));
    ASSERT_EQ(ui.app->exportQueue().jobs().size(), 1u);
    const ExportQueue::Job& job = ui.app->exportQueue().jobs().front();
    EXPECT_EQ(job.displayName, QStringLiteral("chosen.mov"));
    EXPECT_EQ(job.bundleName, QStringLiteral("Demo Take"));
    EXPECT_EQ(job.configuration.outputPath, output);
    EXPECT_EQ(job.configuration.container, Container::mov);
    EXPECT_EQ(job.configuration.codec, Codec::h264) << "GIF left the codec as it was";
    EXPECT_EQ(job.configuration.preset, ExportConfiguration::Preset::gif());
    EXPECT_FALSE(job.configuration.includeAudio);
    ui.app->exportQueue().cancelAll();
    waitUntil([&] { return !ui.app->exportQueue().hasActiveWork(); }, 30s);
}

// Where the desktop offers a portal, its panel is the one asked, with the name, folder and file type the
// sheet suggests; its Cancel leaves the sheet open, its file is what gets exported. Without a portal on
// the bus the toolkit's own panel comes up instead.
TEST_F(ExportSheetViewTest, TheDesktopsPanelComesThroughThePortalWhereThereIsOne) {
    PrivateBus bus;
    ASSERT_FALSE(bus.address.isEmpty()) << "dbus-daemon did not start";
    QDBusConnection portalSide = bus.connect(QStringLiteral("fake-portal"));
    FakeFileChooser portal(portalSide);
    ASSERT_TRUE(portalSide.registerObject(QString::fromLatin1(PortalSavePanel::objectPath), &portal,
                                          QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(portalSide.registerService(QString::fromLatin1(PortalSavePanel::service)));

    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ui.desktop->viewModel().savePanel().setConnection(bus.connect(QStringLiteral("sheet-side")));
    ASSERT_NE(openExportProject(ui, QStringLiteral("Portal Take"), 1), nullptr);
    ExportSheetViewModel* sheet = openExportSheet(ui);
    ASSERT_NE(sheet, nullptr);
    choose(ui, "export.container.mov");

    portal.response = 1;
    choose(ui, "export.exportButton");
    ASSERT_TRUE(waitUntil([&] { return portal.asked.size() == 1; }));
    QTest::qWait(200);
    EXPECT_TRUE(exportSheetShows(ui)) << "Cancel keeps the sheet";
    EXPECT_TRUE(ui.app->exportQueue().jobs().empty());
    const FakeFileChooser::Asked& first = portal.asked.front();
    EXPECT_EQ(first.title, QStringLiteral("Export Movie"));
    EXPECT_EQ(first.currentName, QStringLiteral("Portal Take.mov"));
    EXPECT_EQ(first.filterPattern, QStringLiteral("*.mov"));
    EXPECT_TRUE(first.currentFolder.endsWith('\0')) << "the portal wants a NUL-terminated path";
    EXPECT_EQ(first.currentFolder.chopped(1), sheet->saveFolder().toLocalFile().toUtf8());
    EXPECT_EQ(first.parentWindow, QStringLiteral("x11:") + QString::number(ui.window()->winId(), 16));

    const QString output = ui.dir.filePath(QStringLiteral("from the portal.mov"));
    portal.response = 0;
    portal.file = output;
    choose(ui, "export.exportButton");
    ASSERT_TRUE(waitUntil([&] { return !exportSheetShows(ui); }));
    ASSERT_EQ(ui.app->exportQueue().jobs().size(), 1u);
    EXPECT_EQ(ui.app->exportQueue().jobs().front().configuration.outputPath, output);
    ui.app->exportQueue().cancelAll();
    waitUntil([&] { return !ui.app->exportQueue().hasActiveWork(); }, 30s);

    // The portal leaves the bus: the next Export falls back to the toolkit's panel.
    ASSERT_TRUE(portalSide.unregisterService(QString::fromLatin1(PortalSavePanel::service)));
    ASSERT_NE(openExportSheet(ui), nullptr);
    choose(ui, "export.exportButton");
    QObject* panel = nullptr;
    EXPECT_TRUE(waitUntil([&] {
        panel = ui.window()->findChild<QObject*>(QStringLiteral("export.savePanel"));
        return panel && panel->property("visible").toBool();
    }));
    EXPECT_EQ(portal.asked.size(), 2);
    if (panel)
        QMetaObject::invokeMethod(panel, "reject");
}

} // namespace
} // namespace orvane::test

#include "ExportSheetViewTest.moc"
