#pragma once

#include "capture/CaptureEnvironment.h"
#include "capture/CaptureSource.h"
#include "media/VideoFrame.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QObject>
#include <QSet>

#include <optional>

namespace orvane {

// One small still picture per source for the picker, taken once per refresh. Main thread only; the
// pictures are taken on a worker thread of their own.
class SourceThumbnailCache : public QObject {
    Q_OBJECT
public:
    static constexpr int maxWidth = 640;
    static constexpr int maxHeight = 360;

    static SourceThumbnailCache& shared();
    explicit SourceThumbnailCache(CaptureEnvironment environment, QObject* parent = nullptr);

    // Starts taking the source's picture unless it is in hand or already being taken; returns at once.
    void fetchIfNeeded(const CaptureSource& source);
    // Forgets every picture. A picture being taken still lands when it is done.
    void clear();

    std::optional<VideoFrame> thumbnail(const QString& sourceID) const;
    bool isFetching(const QString& sourceID) const { return m_inflight.contains(sourceID); }
    int count() const { return int(m_cache.size()); }

    // The source's picture now: its pixels fitted into a box of at most 640 by 360 (each side limited on
    // its own, so a tall window's box is not its shape), transparent around the fitted content, without
    // the pointer. Nothing, with a log line, when the source cannot be found or read.
    static QCoro::Task<std::optional<VideoFrame>> snapshot(CaptureSource source,
                                                           CaptureEnvironment environment);
    // The blocking part of snapshot, for any thread.
    static tl::expected<VideoFrame, QString> takeSnapshot(const CaptureSource& source,
                                                          const CaptureEnvironment& environment);

Q_SIGNALS:
    void changed();

private:
    QCoro::Task<> fetch(CaptureSource source);

    CaptureEnvironment m_environment;
    QHash<QString, VideoFrame> m_cache;
    QSet<QString> m_inflight;
};

} // namespace orvane
