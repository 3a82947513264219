#pragma once

// The export sheet and the queue panel on a real window: a project over a real movie, the sheet opened
// from the toolbar, its save panel answered by the test, and the exported file read back with ffprobe.

#include "UiTestSupport.h"
#include "media/MediaTestSupport.h"
#include "ui/ExportSheetViewModel.h"
#include "ui/ItemTree.h"

#include <QCoro/QCoroTask>
#include <QDir>
#include <QMap>

namespace orvane::test {

// 320x180 at 30 fps, `seconds` long, with a 440 Hz tone.
inline bool makeExportSourceMovie(const QString& path, double seconds) {
    const QString d = QString::number(seconds);
    return ffmpegMake({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                       QStringLiteral("testsrc2=size=320x180:rate=30:d=") + d, QStringLiteral("-f"),
                       QStringLiteral("lavfi"), QStringLiteral("-i"),
                       QStringLiteral("sine=frequency=440:sample_rate=48000:d=") + d, QStringLiteral("-c:v"),
                       QStringLiteral("libx264"), QStringLiteral("-preset"), QStringLiteral("ultrafast"),
                       QStringLiteral("-pix_fmt"), QStringLiteral("yuv420p"), QStringLiteral("-c:a"),
                       QStringLiteral("aac")},
                      path);
}

// A new project named `name` holding one clip over such a movie, on the editor screen.
inline std::shared_ptr<ProjectBundle> openExportProject(UiHarness& ui, const QString& name, double seconds) {
    auto bundle = ui.app->createProjectAt(ui.dir.filePath(name + QStringLiteral(".orvanescreen")));
    if (!bundle) {
        ADD_FAILURE() << "no project";
        return nullptr;
    }
    const QString movie = ui.dir.filePath(name + QStringLiteral(" source.mp4"));
    if (!makeExportSourceMovie(movie, seconds))
        return nullptr;
    const auto imported = QCoro::waitFor(ui.app->importVideo(movie));
    if (!imported) {
        ADD_FAILURE() << "the movie did not import";
        return nullptr;
    }
    ui.app->setScreen(AppScreen::editor);
    if (!ui.waitFor(QStringLiteral("editor.timeline"))) {
        ADD_FAILURE() << "no editor";
        return nullptr;
    }
    return *bundle;
}

// Opens the sheet from the toolbar's Export button; its view model once it shows.
inline ExportSheetViewModel* openExportSheet(UiHarness& ui) {
    ui.click(ui.waitFor(QStringLiteral("editor.export")));
    if (!ui.waitFor(QStringLiteral("export.exportButton")))
        return nullptr;
    return ui.window()->findChild<ExportSheetViewModel*>(QStringLiteral("exportSheetModel"));
}

inline bool exportSheetShows(UiHarness& ui) {
    return ui.find(QStringLiteral("export.exportButton")) != nullptr;
}

// Answers the sheet's save panel for as long as it lives: every request gets the next of `answers` (a
// path, or none for Cancel), and the names the panel would have suggested are kept.
class SavePanelAnswers {
public:
    explicit SavePanelAnswers(std::vector<std::optional<QString>> answers)
        : m_answers(std::move(answers)) {
        ExportSheetViewModel::setSavePathProvider([this](const ExportSheetViewModel& sheet) {
            suggested.push_back(sheet.suggestedFileName());
            if (m_next >= m_answers.size())
                return std::optional<QString>();
            return m_answers[m_next++];
        });
    }
    ~SavePanelAnswers() { ExportSheetViewModel::setSavePathProvider({}); }
    SavePanelAnswers(const SavePanelAnswers&) = delete;
    SavePanelAnswers& operator=(const SavePanelAnswers&) = delete;

    QStringList suggested;

private:
    std::vector<std::optional<QString>> m_answers;
    std::size_t m_next = 0;
};

// ffprobe's "key=value" lines for the first stream of `kind` ("v", "a"); `countFrames` decodes the whole
// stream to count its frames.
inline QMap<QString, QString> probeFirstStream(const QString& path, const QString& kind,
                                               const QString& entries, bool countFrames = false) {
    QStringList extra{QStringLiteral("-select_streams"), kind + QStringLiteral(":0")};
    if (countFrames)
        extra << QStringLiteral("-count_frames");
    QMap<QString, QString> values;
    for (const QString& line : ffprobe(path, QStringLiteral("stream=") + entries, extra).split(u'\n')) {
        const auto eq = line.indexOf(u'=');
        if (eq > 0)
            values[line.left(eq)] = line.mid(eq + 1).trimmed();
    }
    return values;
}

inline QString itemText(QQuickItem* item) {
    return item ? item->property("text").toString() : QString();
}

} // namespace orvane::test
