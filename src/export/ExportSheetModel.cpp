#include "ExportSheetModel.h"

#include <QCoreApplication>

#include <cmath>

namespace orvane {

using Container = ExportConfiguration::Container;
using Codec = ExportConfiguration::Codec;

void ExportSheetModel::applyPreset(Preset preset) {
    m_preset = preset;
    switch (preset) {
    case Preset::web1080:
    case Preset::socialSquare:
    case Preset::socialVertical:
        m_format = Container::mp4;
        m_codec = Codec::h264;
        break;
    case Preset::web4K:
        m_format = Container::mp4;
        m_codec = Codec::hevc;
        break;
    case Preset::gif:
        m_format = Container::gif;
        break;
    }
}

QString ExportSheetModel::presetTitle(Preset preset) {
    switch (preset) {
    case Preset::web1080:
        return QStringLiteral("Web 1080p (60fps)");
    case Preset::web4K:
        return QStringLiteral("Web 4K (60fps)");
    case Preset::socialSquare:
        return QStringLiteral("Social Square (1080×1080)");
    case Preset::socialVertical:
        return QStringLiteral("Social Vertical (1080×1920)");
    case Preset::gif:
        return QStringLiteral("GIF (loop)");
    }
    return {};
}

QString ExportSheetModel::formatTitle(Container format) {
    switch (format) {
    case Container::mp4:
        return QStringLiteral("MP4");
    case Container::mov:
        return QStringLiteral("MOV");
    case Container::gif:
        return QStringLiteral("GIF");
    }
    return {};
}

QString ExportSheetModel::codecTitle(Codec codec) {
    switch (codec) {
    case Codec::h264:
        return QStringLiteral("H.264");
    case Codec::hevc:
        return QStringLiteral("HEVC (H.265)");
    case Codec::prores:
        return QStringLiteral("ProRes 422");
    }
    return {};
}

QString ExportSheetModel::strategyTitle(RecomposeStrategy strategy) {
    switch (strategy) {
    case RecomposeStrategy::followCursor:
        return QStringLiteral("Follow Cursor");
    case RecomposeStrategy::centerWeighted:
        return QStringLiteral("Center Weighted");
    case RecomposeStrategy::faceTracking:
        return QStringLiteral("Face Tracking");
    }
    return {};
}

ExportConfiguration::Preset ExportSheetModel::configurationPreset(Preset preset) {
    switch (preset) {
    case Preset::web1080:
        return ExportConfiguration::Preset::web1080();
    case Preset::web4K:
        return ExportConfiguration::Preset::web4K();
    case Preset::socialSquare:
        return ExportConfiguration::Preset::socialSquare();
    case Preset::socialVertical:
        return ExportConfiguration::Preset::socialVertical();
    case Preset::gif:
        return ExportConfiguration::Preset::gif();
    }
    return ExportConfiguration::Preset::web1080();
}

QString ExportSheetModel::estimatedSizeLabel() const {
    const double rate = double(configurationPreset(m_preset).bitRate());
    const double seconds = m_bundle ? m_bundle->project().timeline.duration().seconds : 0;
    if (!m_bundle || rate <= 0 || seconds <= 0)
        return QStringLiteral("—");
    double bytes = rate * seconds * 0.125;
    if (m_codec == Codec::hevc)
        bytes *= 0.6;
    else if (m_codec == Codec::prores)
        bytes *= 6;
    // Kilobytes count in 1024s, megabytes and gigabytes in powers of 1000, as the sheet always showed.
    if (bytes < 1'000'000)
        return QString::asprintf("~%.0f KB", bytes / 1024);
    if (bytes < 1'000'000'000)
        return QString::asprintf("~%.0f MB", bytes / 1'000'000);
    return QString::asprintf("~%.1f GB", bytes / 1'000'000'000);
}

QString ExportSheetModel::durationLabel() const {
    if (!m_bundle)
        return QStringLiteral("—");
    const int seconds = int(m_bundle->project().timeline.duration().seconds);
    return QString::asprintf("%d:%02d", seconds / 60, seconds % 60);
}

QString ExportSheetModel::resolutionLabel() const {
    const QSize size = configuration(QString()).outputSize();
    return QStringLiteral("%1×%2").arg(size.width()).arg(size.height());
}

QString ExportSheetModel::suggestedFileName() const {
    const QString name = m_bundle ? m_bundle->project().name : QStringLiteral("Untitled");
    ExportConfiguration c;
    c.container = m_format;
    return name + u'.' + c.fileExtension();
}

std::optional<double> ExportSheetModel::recomposeTargetAspect() const {
    if (!m_autoRecompose || !isSocialPreset())
        return std::nullopt;
    return m_preset == Preset::socialVertical ? 0.5625 : 1.0;
}

ExportConfiguration ExportSheetModel::configuration(const QString& outputPath) const {
    ExportConfiguration c;
    c.outputPath = outputPath;
    c.container = m_format;
    c.codec = m_codec;
    c.includeAudio = m_includeAudio;
    c.preset = configurationPreset(m_preset);
    return c;
}

} // namespace orvane
