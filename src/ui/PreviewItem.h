#pragma once

#include "ui/PreviewPlayer.h"

#include <QImage>
#include <QMetaObject>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace orvane {

class ProjectBundle;

// The editor's live preview: the current project's clip played through the compositor, each composed canvas
// a texture in the scene graph, scaled to fit and centred over black. `clipId` "" shows the timeline's first
// clip. Writing `playheadTime` while paused shows exactly the frame at that time.
class PreviewItem : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString clipId READ clipId WRITE setClipId NOTIFY clipIdChanged FINAL)
    Q_PROPERTY(double playheadTime READ playheadTime WRITE setPlayheadTime NOTIFY playheadTimeChanged FINAL)
    Q_PROPERTY(bool isPlaying READ isPlaying WRITE setPlaying NOTIFY isPlayingChanged FINAL)
    Q_PROPERTY(double transportRate READ transportRate NOTIFY transportRateChanged FINAL)
    Q_PROPERTY(double duration READ duration NOTIFY durationChanged FINAL)
    Q_PROPERTY(bool hasClip READ hasClip NOTIFY hasClipChanged FINAL)
    Q_PROPERTY(int presentedFrames READ presentedFrames NOTIFY presentedFramesChanged FINAL)
public:
    explicit PreviewItem(QQuickItem* parent = nullptr);
    ~PreviewItem() override;

    const QString& clipId() const { return m_clipId; }
    void setClipId(const QString& id);
    double playheadTime() const { return m_player.playheadTime(); }
    void setPlayheadTime(double seconds);
    bool isPlaying() const { return m_player.isPlaying(); }
    void setPlaying(bool playing) { m_player.setPlaying(playing); }
    double transportRate() const { return m_player.transportRate(); }
    double duration() const { return m_player.duration(); }
    bool hasClip() const { return m_player.hasClip(); }
    int presentedFrames() const { return m_presentedFrames; }

    Q_INVOKABLE void togglePlay() { m_player.togglePlay(); }
    Q_INVOKABLE void shuttleForward() { m_player.shuttleForward(); }
    Q_INVOKABLE void shuttlePause() { m_player.shuttlePause(); }
    Q_INVOKABLE void shuttleReverse() { m_player.shuttleReverse(); }
    Q_INVOKABLE void stepFrame(int count) { m_player.stepFrame(count); }
    Q_INVOKABLE void jump(double seconds) { m_player.jump(seconds); }
    Q_INVOKABLE void seekToStart() { m_player.seekToStart(); }
    Q_INVOKABLE void seekToEnd() { m_player.seekToEnd(); }
    // A time as the editor writes it everywhere ("mm:ss.fff").
    Q_INVOKABLE QString formatTime(double seconds) const { return ProjectTime(seconds).formatted(); }

    // For tests and timing programs: the canvas last put into the scene graph and the source time of the
    // frame in it, as of the last sync; and the engine.
    QImage presentedImage() const { return m_presentedImage; }
    std::optional<double> presentedSourceTime() const { return m_presentedTime; }
    PreviewPlayer& player() { return m_player; }
    // Composed canvases that a newer one replaced before the scene graph took them.
    int replacedFrames() const { return m_replacedFrames; }

Q_SIGNALS:
    void clipIdChanged();
    void playheadTimeChanged();
    void isPlayingChanged();
    void transportRateChanged();
    void durationChanged();
    void hasClipChanged();
    void presentedFramesChanged();

protected:
    void componentComplete() override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData*) override;

private:
    void watchBundle();
    void reload();
    void frameComposed(const QImage& image, double sourceTime);

    PreviewPlayer m_player;
    QString m_clipId;
    std::weak_ptr<ProjectBundle> m_bundle;
    QMetaObject::Connection m_projectConnection;
    QImage m_pendingImage; // composed, not yet in the scene graph
    double m_pendingTime = 0;
    bool m_imageChanged = false;
    QImage m_presentedImage;
    std::optional<double> m_presentedTime;
    int m_presentedFrames = 0;
    int m_replacedFrames = 0;
    bool m_hadClip = false;
};

} // namespace orvane
