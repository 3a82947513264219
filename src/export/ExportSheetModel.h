#pragma once

#include "ExportConfiguration.h"
#include "project/ProjectBundle.h"

#include <QString>

#include <memory>
#include <optional>

namespace orvane {

// The export sheet's state and rules without the sheet: what a preset sets, the labels, the size
// estimate and the configuration it submits.
class ExportSheetModel {
public:
    enum class Preset { web1080, web4K, socialSquare, socialVertical, gif };
    enum class RecomposeStrategy { followCursor, centerWeighted, faceTracking };

    explicit ExportSheetModel(std::shared_ptr<ProjectBundle> bundle = nullptr)
        : m_bundle(std::move(bundle)) {}

    Preset preset() const { return m_preset; }
    // Sets format and codec the way the preset asks; they can be changed afterwards.
    void applyPreset(Preset preset);
    ExportConfiguration::Container format() const { return m_format; }
    void setFormat(ExportConfiguration::Container format) { m_format = format; }
    ExportConfiguration::Codec codec() const { return m_codec; }
    void setCodec(ExportConfiguration::Codec codec) { m_codec = codec; }
    bool includeAudio() const { return m_includeAudio; }
    void setIncludeAudio(bool include) { m_includeAudio = include; }
    bool autoRecompose() const { return m_autoRecompose; }
    void setAutoRecompose(bool on) { m_autoRecompose = on; }
    RecomposeStrategy recomposeStrategy() const { return m_recomposeStrategy; }
    void setRecomposeStrategy(RecomposeStrategy strategy) { m_recomposeStrategy = strategy; }

    static QString presetTitle(Preset preset);
    static QString formatTitle(ExportConfiguration::Container format);
    static QString codecTitle(ExportConfiguration::Codec codec);
    static QString strategyTitle(RecomposeStrategy strategy);
    static ExportConfiguration::Preset configurationPreset(Preset preset);

    QString estimatedSizeLabel() const;
    QString durationLabel() const;
    QString resolutionLabel() const;
    bool isSocialPreset() const {
        return m_preset == Preset::socialSquare || m_preset == Preset::socialVertical;
    }
    // The save panel's suggested name: the project name with the format's extension.
    QString suggestedFileName() const;
    // A recompose runs first only for a social preset with the option on: its target aspect.
    std::optional<double> recomposeTargetAspect() const;

    ExportConfiguration configuration(const QString& outputPath) const;

private:
    std::shared_ptr<ProjectBundle> m_bundle;
    Preset m_preset = Preset::web1080;
    ExportConfiguration::Container m_format = ExportConfiguration::Container::mp4;
    ExportConfiguration::Codec m_codec = ExportConfiguration::Codec::h264;
    bool m_includeAudio = true;
    bool m_autoRecompose = false;
    RecomposeStrategy m_recomposeStrategy = RecomposeStrategy::followCursor;
};

} // namespace orvane
