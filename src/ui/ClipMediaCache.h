#pragma once

#include "project/Clip.h"

#include <QColor>
#include <QDateTime>
#include <QHash>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QThreadPool>
#include <QUuid>

#include <memory>
#include <mutex>
#include <stop_token>

namespace orvane {

// The filmstrips and waveforms behind the timeline's clip bars. Each request runs in the background, on a
// pool of its own that makes a few clips at a time, and the pictures come back through queued calls as
// they are written, so a long clip fills its bar frame by frame and never holds up the window. The
// pictures live in the project's "thumbnails" folder, where a fresh set is taken as it is.
//
// Lives on the main thread; every public function is for that thread only. The workers touch nothing of
// this object but queued calls back to it.
class ClipMediaCache : public QObject {
    Q_OBJECT
public:
    explicit ClipMediaCache(QObject* parent = nullptr);
    ~ClipMediaCache() override; // cancels and joins the work

    // The open project's folder; "" for none. Changing it cancels the work under way.
    void setProjectFolder(const QString& folder);
    void setWaveformTint(const QColor& tint);
    // Starts, for one clip bar, the strip (if the clip has a movie) and then the waveform (its audio file,
    // else its movie), sized for a bar at `pixelsPerSecond`. A newer request for the same clip cancels the
    // older; a request whose size and sources match what is already made or under way does nothing.
    void request(const Clip& clip, double pixelsPerSecond);
    // What is ready so far, as file URLs, in time order.
    QStringList stripFrames(const QUuid& clipID) const;
    QString waveform(const QUuid& clipID) const; // "" until ready

    // Clips whose work has not finished yet.
    int pendingCount() const;

Q_SIGNALS:
    // Emitted on the main thread as strip frames arrive and when the waveform is ready.
    void clipMediaChanged(const QUuid& clipID);

private:
    // What a clip's pictures are made from and at which size: equal work gives equal pictures. The
    // sources' dates make a re-recorded file new work.
    struct Work {
        QString movie;
        QDateTime movieDate;
        QString sound;
        QDateTime soundDate;
        int frameCount = 0;
        int bucketCount = 0;
        bool operator==(const Work&) const = default;
    };
    struct Entry {
        Work work;
        std::uint64_t generation = 0;
        std::stop_source stop;
        // One job of a clip writes its files at a time: a cancelled job may still be finishing a frame
        // when the next one starts.
        std::shared_ptr<std::mutex> filesLock = std::make_shared<std::mutex>();
        QMap<int, QString> frames;          // by number, as URLs
        std::uint64_t framesGeneration = 0; // the job whose frames those are
        QString waveform;
        bool running = false;
    };

    void start(const QUuid& clipID, Entry& entry, const QString& stripFolder, const QString& wavePath);
    void frameArrived(const QUuid& clipID, std::uint64_t generation, int index, const QString& path);
    void stripFinished(const QUuid& clipID, std::uint64_t generation, const QStringList& paths);
    void waveformArrived(const QUuid& clipID, std::uint64_t generation, const QString& path);
    void jobFinished(const QUuid& clipID, std::uint64_t generation);
    void cancelAll();

    QThreadPool m_pool;
    QString m_projectFolder;
    QColor m_tint;
    QHash<QUuid, Entry> m_entries;
    std::uint64_t m_nextGeneration = 1;
};

} // namespace orvane
