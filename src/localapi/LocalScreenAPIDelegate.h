#pragma once

#include "app/AppTypes.h"
#include "app/ImportError.h"
#include "capture/CaptureSource.h"
#include "project/Clip.h"
#include "project/ProjectBundle.h"
#include "support/Error.h"

#include <QCoro/QCoroTask>

#include <tl/expected.hpp>

#include <functional>
#include <memory>
#include <vector>

namespace orvane {

// What the loopback server asks of the application. Every member runs on the main thread.
class LocalScreenAPIDelegate {
public:
    virtual ~LocalScreenAPIDelegate() = default;

    virtual std::shared_ptr<ProjectBundle> currentBundle() const = 0;
    virtual bool isExporting() const = 0;
    virtual bool isImporting() const = 0;
    virtual bool isRecording() const = 0;
    virtual AppScreen screen() const = 0;
    virtual QString recordingsRootDirectory() const = 0;
    virtual void setRecordingsRootDirectory(const QString& path) = 0;
    virtual QString defaultRecordingsRootDirectory() const = 0;

    virtual std::vector<CaptureSource> availableSources() const = 0;
    virtual QString selectedSourceID() const = 0;
    virtual void setSelectedSourceID(const QString& id) = 0;
    virtual void setIncludesMicrophone(bool on) = 0;
    virtual void setIncludesSystemAudio(bool on) = 0;
    virtual void setIncludesCamera(bool on) = 0;
    // Rediscovers the sources into availableSources; a failure leaves the list empty.
    virtual QCoro::Task<void> apiRefreshSources() = 0;
    // Starts capturing the selected source without a countdown and returns at once; whether it started
    // shows later in isRecording.
    virtual void apiBeginCaptureNoCountdown() = 0;
    // What the recording under way (or the last one) started without, such as its sound.
    virtual QStringList recordingWarnings() const = 0;
    // Stops the recording and appends it to the open project as its last clip.
    virtual QCoro::Task<void> stopCapture() = 0;

    virtual tl::expected<std::shared_ptr<ProjectBundle>, Error> createProject(const QString& name, int width,
                                                                              int height, int frameRate) = 0;
    virtual void openProject(const QString& path) = 0;
    // One file copied into the project (made first when none is open) and appended as the last clip.
    virtual QCoro::Task<tl::expected<void, ImportError>> importVideo(QString path) = 0;
    virtual QCoro::Task<tl::expected<void, ImportError>> importAudio(QString path) = 0;
    // The one editing path of automation: no undo step, an autosave.
    virtual tl::expected<void, Error> apiUpdateClip(const QUuid& id,
                                                    const std::function<void(Clip&)>& mutate) = 0;
    // Keyframes made from the clip's clicks; fails without a project or clip.
    virtual QCoro::Task<tl::expected<int, Error>> apiGenerateAutoZoom(QUuid clipID) = 0;
    virtual tl::expected<QString, Error> apiExport(const QString& preset, const QString& codec,
                                                   const std::optional<QString>& outputPath) = 0;
    // Jobs of the export queue by state: pending, running, completed, failed (cancelled ones count nowhere).
    struct ExportCounts {
        int pending = 0, active = 0, completed = 0, failed = 0;
    };
    virtual ExportCounts exportCounts() const = 0;
    // Brings the main window to the front.
    virtual void showWindow() = 0;
};

} // namespace orvane
