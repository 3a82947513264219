#include "ExportSheetViewModel.h"

#include "AppViewModel.h"
#include "PortalSavePanel.h"
#include "Strings.h"
#include "app/AppState.h"
#include "app/ApplyAutoRecompose.h"
#include "export/ExportQueue.h"

#include <QDir>
#include <QGuiApplication>
#include <QWindow>
#include <QStandardPaths>

#include <array>

namespace orvane {

namespace {

using Preset = ExportSheetModel::Preset;
using Container = ExportConfiguration::Container;
using Codec = ExportConfiguration::Codec;
using Strategy = ExportSheetModel::RecomposeStrategy;

constexpr std::array presets{Preset::web1080, Preset::web4K, Preset::socialSquare, Preset::socialVertical,
                             Preset::gif};
constexpr std::array formats{Container::mp4, Container::mov, Container::gif};
constexpr std::array codecs{Codec::h264, Codec::hevc, Codec::prores};
constexpr std::array strategies{Strategy::followCursor, Strategy::centerWeighted, Strategy::faceTracking};

ExportSheetViewModel::SavePathProvider& savePathProvider() {
    static ExportSheetViewModel::SavePathProvider provider;
    return provider;
}

template <class Array>
bool inRange(const Array& values, int index) {
    return index >= 0 && index < int(values.size());
}

// The recompose edits the project on the main thread as each clip's analysis comes back; the job joins the
// queue only once all of them are in, so the render sees the new framing. The sheet is gone by then: the
// task holds what it needs by value.
QCoro::Task<void> recomposeThenQueue(std::shared_ptr<ProjectBundle> bundle, QPointer<ExportQueue> queue,
                                     ExportConfiguration config, double targetAspect,
                                     AutoRecompose::Strategy strategy) {
    co_await applyAutoRecompose(bundle, targetAspect, strategy);
    if (queue)
        queue->enqueue(std::move(bundle), config);
}

AutoRecompose::Strategy analyserStrategy(Strategy strategy) {
    switch (strategy) {
    case Strategy::followCursor:
        break;
    case Strategy::centerWeighted:
        return AutoRecompose::Strategy::centerWeighted;
    case Strategy::faceTracking:
        return AutoRecompose::Strategy::faceTracking;
    }
    return AutoRecompose::Strategy::followCursor;
}

} // namespace

void ExportSheetViewModel::setSavePathProvider(SavePathProvider provider) {
    savePathProvider() = std::move(provider);
}

ExportSheetViewModel::ExportSheetViewModel(QObject* parent)
    : ExportSheetViewModel(AppViewModel::current()->appState(), parent) {
    m_savePanel = &AppViewModel::current()->savePanel();
}

ExportSheetViewModel::ExportSheetViewModel(AppState& app, QObject* parent)
    : QObject(parent)
    , m_app(&app)
    , m_bundle(app.currentBundle())
    , m_sheet(m_bundle) {
    if (m_bundle)
        m_projectConnection = connect(m_bundle.get(), &ProjectBundle::projectChanged, this, [this] {
            Q_EMIT projectChanged();
            Q_EMIT summaryChanged();
        });
}

ExportSheetViewModel::~ExportSheetViewModel() = default;

bool ExportSheetViewModel::canExport() const {
    return m_bundle && !m_bundle->project().timeline.clips.empty();
}

QStringList ExportSheetViewModel::presetTitles() {
    QStringList titles;
    for (Preset p : presets)
        titles << ExportSheetModel::presetTitle(p);
    return titles;
}

QStringList ExportSheetViewModel::presetKeys() {
    return {QStringLiteral("export.preset.web1080"), QStringLiteral("export.preset.web4K"),
            QStringLiteral("export.preset.socialSquare"), QStringLiteral("export.preset.socialVertical"),
            QStringLiteral("export.preset.gif")};
}

QStringList ExportSheetViewModel::presetDetails() {
    QStringList details;
    for (Preset p : presets) {
        const ExportConfiguration::Preset preset = ExportSheetModel::configurationPreset(p);
        const Size size = preset.size();
        details << Strings::text(QStringLiteral("export.preset.detail"), QStringLiteral("%1×%2 · %3 fps"))
                       .arg(int(size.width))
                       .arg(int(size.height))
                       .arg(preset.frameRate());
    }
    return details;
}

QStringList ExportSheetViewModel::formatTitles() {
    QStringList titles;
    for (Container c : formats)
        titles << ExportSheetModel::formatTitle(c);
    return titles;
}

QStringList ExportSheetViewModel::codecTitles() {
    QStringList titles;
    for (Codec c : codecs)
        titles << ExportSheetModel::codecTitle(c);
    return titles;
}

QStringList ExportSheetViewModel::strategyTitles() {
    QStringList titles;
    for (Strategy s : strategies)
        titles << ExportSheetModel::strategyTitle(s);
    return titles;
}

void ExportSheetViewModel::changeChoices(const std::function<void(ExportSheetModel&)>& change) {
    const ExportConfiguration before = m_sheet.configuration(QString());
    const bool recomposeBefore = m_sheet.autoRecompose();
    const Strategy strategyBefore = m_sheet.recomposeStrategy();
    const Preset presetBefore = m_sheet.preset();
    change(m_sheet);
    if (before == m_sheet.configuration(QString()) && recomposeBefore == m_sheet.autoRecompose() &&
        strategyBefore == m_sheet.recomposeStrategy() && presetBefore == m_sheet.preset())
        return;
    Q_EMIT choicesChanged();
    Q_EMIT summaryChanged();
}

void ExportSheetViewModel::setPreset(int index) {
    if (!inRange(presets, index))
        return;
    // Choosing a preset again applies it again: format and codec go back to what it sets.
    changeChoices([&](ExportSheetModel& s) { s.applyPreset(presets[size_t(index)]); });
}

void ExportSheetViewModel::setFormat(int index) {
    if (inRange(formats, index))
        changeChoices([&](ExportSheetModel& s) { s.setFormat(formats[size_t(index)]); });
}

void ExportSheetViewModel::setCodec(int index) {
    if (inRange(codecs, index))
        changeChoices([&](ExportSheetModel& s) { s.setCodec(codecs[size_t(index)]); });
}

void ExportSheetViewModel::setIncludeAudio(bool on) {
    changeChoices([&](ExportSheetModel& s) { s.setIncludeAudio(on); });
}

void ExportSheetViewModel::setAutoRecompose(bool on) {
    changeChoices([&](ExportSheetModel& s) { s.setAutoRecompose(on); });
}

void ExportSheetViewModel::setRecomposeStrategy(int index) {
    if (inRange(strategies, index))
        changeChoices([&](ExportSheetModel& s) { s.setRecomposeStrategy(strategies[size_t(index)]); });
}

int ExportSheetViewModel::frameRate() const {
    return ExportSheetModel::configurationPreset(m_sheet.preset()).frameRate();
}

QUrl ExportSheetViewModel::saveFolder() const {
    const QString movies = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
    return QUrl::fromLocalFile(QDir(movies).exists() ? movies : QDir::homePath());
}

QUrl ExportSheetViewModel::suggestedFile() const {
    return QUrl::fromLocalFile(QDir(saveFolder().toLocalFile()).filePath(suggestedFileName()));
}

QString ExportSheetViewModel::fileTypeLabel() const {
    switch (m_sheet.format()) {
    case Container::mp4:
        return Strings::text(QStringLiteral("export.fileType.mp4"), QStringLiteral("MPEG-4 movie"));
    case Container::mov:
        return Strings::text(QStringLiteral("export.fileType.mov"), QStringLiteral("QuickTime movie"));
    case Container::gif:
        return Strings::text(QStringLiteral("export.fileType.gif"), QStringLiteral("GIF image"));
    }
    return {};
}

QString ExportSheetViewModel::fileTypeFilter() const {
    return QStringLiteral("%1 (*.%2)").arg(fileTypeLabel(), fileExtension());
}

QString ExportSheetViewModel::fileExtension() const {
    return m_sheet.configuration(QString()).fileExtension();
}

void ExportSheetViewModel::requestExport() {
    if (!canExport())
        return;
    if (const SavePathProvider& provider = savePathProvider()) {
        if (const std::optional<QString> path = provider(*this))
            submit(QUrl::fromLocalFile(*path));
        return;
    }
    if (!m_savePanel) {
        Q_EMIT savePanelRequested();
        return;
    }
    PortalSavePanel::Request request;
    request.title = Strings::text(QStringLiteral("export.savePanel.title"), QStringLiteral("Export Movie"));
    request.suggestedName = suggestedFileName();
    request.folder = saveFolder().toLocalFile();
    request.filterLabel = fileTypeLabel();
    request.filterPattern = QStringLiteral("*.") + fileExtension();
    request.parent = QGuiApplication::focusWindow();
    // The sheet may be gone when the answer comes; a Cancel leaves it open as it was.
    m_savePanel->ask(request, [self = QPointer<ExportSheetViewModel>(this)](PortalSavePanel::Answer answer) {
        if (!self)
            return;
        switch (answer.kind) {
        case PortalSavePanel::Answer::Kind::chosen:
            self->submit(QUrl::fromLocalFile(answer.path));
            break;
        case PortalSavePanel::Answer::Kind::cancelled:
            break;
        case PortalSavePanel::Answer::Kind::unavailable:
            Q_EMIT self->savePanelRequested();
            break;
        }
    });
}

void ExportSheetViewModel::submit(const QUrl& file) {
    const QString path = file.isLocalFile() ? file.toLocalFile() : file.toString();
    if (!m_bundle || !m_app || path.isEmpty())
        return;
    const ExportConfiguration config = m_sheet.configuration(path);
    ExportQueue& queue = m_app->exportQueue();
    if (const std::optional<double> aspect = m_sheet.recomposeTargetAspect())
        recomposeThenQueue(m_bundle, &queue, config, *aspect, analyserStrategy(m_sheet.recomposeStrategy()));
    else
        queue.enqueue(m_bundle, config);
    Q_EMIT dismissRequested();
}

} // namespace orvane
