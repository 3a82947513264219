#pragma once

#include "ExportConfiguration.h"
#include "ExporterError.h"
#include "media/MediaWriterSettings.h"
#include "project/Project.h"

#include <tl/expected.hpp>

#include <chrono>
#include <functional>
#include <stop_token>

namespace orvane {

// Renders a project to a file: each source frame composed by a private Compositor and encoded, the clip's
// audio passed along or mixed. One Exporter serves one export.
//
// `exportProject` blocks on the calling thread, which becomes the export's video thread; `cancel` may be
// called from any thread at any time, and a cancelled or failed run leaves no file at the target.
class Exporter {
public:
    using Progress = std::function<void(double)>; // 0...1, called on the export's thread

    tl::expected<void, ExporterError> exportProject(const Project& project, const QString& bundlePath,
                                                    const ExportConfiguration& config,
                                                    const Progress& progress);
    void cancel();
    bool isCancelled() const;

    // The writer's settings for a configuration: the output size, the preset's rate, a key frame at least
    // every second, the preset's bit rate except for ProRes (none), and a 192 kbit/s AAC track when asked.
    static MediaWriterSettings makeVideoSettings(const ExportConfiguration& config, bool withAudio);

    // How long the pump waits for a free output frame while the encoder lags; then the export fails.
    static constexpr std::chrono::milliseconds framePoolWait{30};

private:
    tl::expected<void, ExporterError> exportSingleClip(const Clip& clip, const QString& bundlePath,
                                                       const ExportConfiguration& config,
                                                       const Progress& progress);

    // The cancel flag: set once, from any thread, without a lock. Requesting the stop also wakes the pump
    // wherever it sleeps on the writer, so a cancel does not wait for the encoder to make room.
    std::stop_source m_cancel;
};

} // namespace orvane
