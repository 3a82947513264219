#include "UiTestSupport.h"

#include <QFileInfo>
#include <QProcess>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

class EditorViewTest : public UiTest {};

// The interim editor lists the clips and exports the project through the queue, showing its progress and
// where the movie went.
TEST_F(EditorViewTest, ListsImportedClipsAndExportsFromTheButton) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    const QString movie = ui.dir.filePath(QStringLiteral("bars.mp4"));
    ASSERT_EQ(QProcess::execute(QStringLiteral("ffmpeg"),
                                {QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-f"),
                                 QStringLiteral("lavfi"), QStringLiteral("-i"),
                                 QStringLiteral("testsrc2=size=640x360:rate=30"), QStringLiteral("-t"),
                                 QStringLiteral("1.5"), QStringLiteral("-pix_fmt"), QStringLiteral("yuv420p"),
                                 movie}),
              0);
    ASSERT_TRUE(ui.app->createProjectAt(ui.dir.filePath(QStringLiteral("Demo.orvanescreen"))).has_value());
    ui.app->setScreen(AppScreen::editor);
    QQuickItem* exportButton = ui.waitFor(QStringLiteral("editor.export"));
    ASSERT_NE(exportButton, nullptr);
    EXPECT_FALSE(exportButton->isEnabled()) << "nothing to export in an empty project";

    ui.desktop->viewModel().importFiles({QUrl::fromLocalFile(movie)}, false);
    QQuickItem* list = ui.find(QStringLiteral("editor.clips"));
    ASSERT_NE(list, nullptr);
    ASSERT_TRUE(waitUntil([&] { return list->property("count").toInt() == 1; }, 15s));
    ASSERT_TRUE(waitUntil([&] { return exportButton->isEnabled(); }));

    ui.click(exportButton);
    ASSERT_TRUE(waitUntil([&] { return !ui.desktop->viewModel().lastExportPath().isEmpty(); }));
    QQuickItem* status = ui.waitFor(QStringLiteral("editor.exportStatus"));
    ASSERT_NE(status, nullptr);
    ASSERT_TRUE(waitUntil(
        [&] { return status->property("text").toString().startsWith(QLatin1String("Finished")); }, 60s))
        << status->property("text").toString().toStdString();
    EXPECT_GT(QFileInfo(ui.desktop->viewModel().lastExportPath()).size(), 1000);
    EXPECT_NE(ui.waitFor(QStringLiteral("editor.revealExport")), nullptr);
}

} // namespace
} // namespace orvane::test
