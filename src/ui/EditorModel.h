#pragma once

#include "TimelineClipModel.h"
#include "TimelineTrackModel.h"
#include "app/TimelineEditing.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QUrl>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

namespace orvane {

class AppState;
class ClipMediaCache;
class ProjectBundle;
class UserDefaults;

// The editor screen's state: the selection, the playhead and the play state that the preview, the
// timeline and the inspector share, the toolbar's toggles and runs, the drop target and the tutorial.
// The timeline's gestures arrive here and go to TimelineEditing, which decides; this object only turns
// its answers into properties and item models for the views.
class EditorModel : public QObject {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(QObject* tracks READ tracks CONSTANT)
    Q_PROPERTY(QObject* clips READ clips CONSTANT)
    Q_PROPERTY(bool hasClips READ hasClips NOTIFY timelineChanged)
    Q_PROPERTY(int clipCount READ clipCount NOTIFY timelineChanged)
    Q_PROPERTY(QString selectedClipId READ selectedClipId WRITE setSelectedClipId NOTIFY selectionChanged)
    Q_PROPERTY(QString selectedClipName READ selectedClipName NOTIFY selectionChanged)
    Q_PROPERTY(double playheadTime READ playheadTime WRITE setPlayheadTime NOTIFY playheadChanged)
    Q_PROPERTY(double playheadX READ playheadX NOTIFY playheadChanged)
    Q_PROPERTY(bool isPlaying READ isPlaying WRITE setIsPlaying NOTIFY isPlayingChanged)

    Q_PROPERTY(double pixelsPerSecond READ pixelsPerSecond WRITE setPixelsPerSecond NOTIFY timelineChanged)
    Q_PROPERTY(double minPixelsPerSecond READ minPixelsPerSecond CONSTANT)
    Q_PROPERTY(double maxPixelsPerSecond READ maxPixelsPerSecond CONSTANT)
    Q_PROPERTY(double contentWidth READ contentWidth NOTIFY timelineChanged)
    Q_PROPERTY(double contentHeight READ contentHeight NOTIFY timelineChanged)
    Q_PROPERTY(double headerWidth READ headerWidth CONSTANT)
    Q_PROPERTY(double rulerHeight READ rulerHeight CONSTANT)
    Q_PROPERTY(QVariantList rulerTicks READ rulerTicks NOTIFY rulerChanged)
    Q_PROPERTY(double viewportX READ viewportX WRITE setViewportX NOTIFY rulerChanged)
    Q_PROPERTY(double viewportWidth READ viewportWidth WRITE setViewportWidth NOTIFY rulerChanged)
    Q_PROPERTY(bool isDraggingPlayhead READ isDraggingPlayhead NOTIFY gestureChanged)
    Q_PROPERTY(bool isTrimming READ isTrimming NOTIFY gestureChanged)
    Q_PROPERTY(QString trimTooltip READ trimTooltip NOTIFY gestureChanged)
    Q_PROPERTY(bool canSplit READ canSplit NOTIFY playheadChanged)

    Q_PROPERTY(bool rippleEdit READ rippleEdit WRITE setRippleEdit NOTIFY rippleEditChanged)
    Q_PROPERTY(bool isAnalyzingZoom READ isAnalyzingZoom NOTIFY autoZoomChanged)
    Q_PROPERTY(QString lastAutoZoomMessage READ lastAutoZoomMessage NOTIFY autoZoomChanged)
    Q_PROPERTY(bool isDropTargeted READ isDropTargeted WRITE setIsDropTargeted NOTIFY isDropTargetedChanged)
    Q_PROPERTY(bool showingExportSheet READ showingExportSheet WRITE setShowingExportSheet NOTIFY
                   showingExportSheetChanged)
    Q_PROPERTY(bool showTutorial READ showTutorial NOTIFY tutorialChanged)
    Q_PROPERTY(int tutorialStep READ tutorialStep NOTIFY tutorialChanged)
    Q_PROPERTY(int tutorialStepCount READ tutorialStepCount CONSTANT)
    Q_PROPERTY(bool editorTutorialCompleted READ editorTutorialCompleted WRITE setEditorTutorialCompleted
                   NOTIFY tutorialChanged)

public:
    static constexpr const char* tutorialCompletedKey = "orvane.screen.editorTutorialCompleted";
    static constexpr int tutorialDelayMs = 350;
    static constexpr int tutorialSteps = 4;

    // Made by the views: finds the application through AppViewModel::current().
    explicit EditorModel(QObject* parent = nullptr);
    EditorModel(AppState& app, UserDefaults& defaults, QObject* parent = nullptr);
    ~EditorModel() override;

    TimelineEditing& editing() { return *m_editing; }
    QObject* tracks() { return &m_tracks; }
    QObject* clips() { return &m_clips; }
    TimelineClipModel& clipModel() { return m_clips; }
    ClipMediaCache& mediaCache() { return *m_media; }

    bool hasClips() const;
    int clipCount() const;
    QString selectedClipId() const;
    void setSelectedClipId(const QString& id);
    std::optional<QUuid> selectedClip() const { return m_selected; }
    QString selectedClipName() const;
    double playheadTime() const { return m_editing->playheadTime(); }
    void setPlayheadTime(double seconds);
    double playheadX() const { return playheadTime() * pixelsPerSecond(); }
    bool isPlaying() const { return m_isPlaying; }
    void setIsPlaying(bool playing);

    double pixelsPerSecond() const { return m_editing->pixelsPerSecond(); }
    void setPixelsPerSecond(double value);
    static double minPixelsPerSecond() { return TimelineEditing::minPixelsPerSecond; }
    static double maxPixelsPerSecond() { return TimelineEditing::maxPixelsPerSecond; }
    double contentWidth() const { return m_editing->contentWidth(); }
    double contentHeight() const;
    static double headerWidth() { return TimelineEditing::headerWidth; }
    static double rulerHeight() { return TimelineEditing::rulerHeight; }
    // {x, label} at whole seconds, spaced so that labels never crowd each other, over the part of the
    // timeline in view (the whole of it before the view says which part that is).
    QVariantList rulerTicks() const;
    double viewportX() const { return m_viewportX; }
    void setViewportX(double x);
    double viewportWidth() const { return m_viewportWidth; }
    void setViewportWidth(double width);
    bool isDraggingPlayhead() const { return m_editing->isDraggingPlayhead(); }
    bool isTrimming() const { return m_editing->trimmingClipID().has_value(); }
    QString trimTooltip() const;
    bool canSplit() const;

    bool rippleEdit() const { return m_editing->rippleEdit(); }
    void setRippleEdit(bool on);
    bool isAnalyzingZoom() const { return m_isAnalyzingZoom; }
    QString lastAutoZoomMessage() const { return m_lastAutoZoomMessage; }
    bool isDropTargeted() const { return m_isDropTargeted; }
    void setIsDropTargeted(bool targeted);
    bool showingExportSheet() const { return m_showingExportSheet; }
    void setShowingExportSheet(bool showing);
    bool showTutorial() const { return m_showTutorial; }
    int tutorialStep() const { return m_tutorialStep; }
    static int tutorialStepCount() { return tutorialSteps; }
    bool editorTutorialCompleted() const;
    void setEditorTutorialCompleted(bool completed);

    // What the screen does when it appears: selects the first clip when none is, and brings the tutorial
    // up a moment later for a first-time user.
    Q_INVOKABLE void appear();

    // Gestures of the timeline, in the timeline's own coordinates (translations since the press).
    Q_INVOKABLE void selectClip(const QString& id);
    Q_INVOKABLE void clipDragChanged(const QString& id, double dx, double dy);
    Q_INVOKABLE void clipDragEnded(double dx, double dy);
    Q_INVOKABLE void trimChanged(const QString& id, bool isLeft, double dx);
    Q_INVOKABLE void trimEnded();
    Q_INVOKABLE void playheadDragChanged(double x, bool shiftPressed);
    Q_INVOKABLE void playheadDragEnded();
    Q_INVOKABLE void trackResizeChanged(int index, double dy);
    Q_INVOKABLE void trackResizeEnded();
    Q_INVOKABLE void toggleTrackMuted(int index);
    Q_INVOKABLE void toggleTrackLocked(int index);
    Q_INVOKABLE void toggleTrackVisible(int index);
    Q_INVOKABLE void zoomIn();
    Q_INVOKABLE void zoomOut();
    Q_INVOKABLE QString formatSeconds(double seconds) const {
        return TimelineEditing::formatSeconds(seconds);
    }

    // Edits on the selection and the playhead.
    Q_INVOKABLE bool splitAtPlayhead();
    Q_INVOKABLE void deleteSelectedClip();
    Q_INVOKABLE void setInPointAtPlayhead();
    Q_INVOKABLE void setOutPointAtPlayhead();

    Q_INVOKABLE void runAutoZoom();
    // Dropped files: movies and sound files are imported, in that order; anything else is left out, and
    // a drop of nothing usable says what can be imported.
    Q_INVOKABLE void handleDrop(const QList<QUrl>& urls);
    // Whether a drag carries anything worth showing the drop target for.
    Q_INVOKABLE bool acceptsDrag(const QList<QUrl>& urls) const;

    Q_INVOKABLE void nextTutorialStep();
    Q_INVOKABLE void completeTutorial();

Q_SIGNALS:
    void timelineChanged();
    void rulerChanged();
    void selectionChanged();
    void playheadChanged();
    void isPlayingChanged();
    void gestureChanged();
    void rippleEditChanged();
    void autoZoomChanged();
    void isDropTargetedChanged();
    void showingExportSheetChanged();
    void tutorialChanged();

private:
    void attachBundle();
    void refresh();
    void refreshClips();
    void requestClipMedia();
    std::optional<QUuid> parseId(const QString& id) const;

    AppState& m_app;
    UserDefaults& m_defaults;
    std::unique_ptr<TimelineEditing> m_editing;
    std::unique_ptr<ClipMediaCache> m_media;
    TimelineTrackModel m_tracks;
    TimelineClipModel m_clips;
    QPointer<ProjectBundle> m_bundle;
    QMetaObject::Connection m_bundleConnection;
    std::optional<QUuid> m_selected;
    bool m_isPlaying = false;
    double m_viewportX = 0;
    double m_viewportWidth = 0;
    bool m_isAnalyzingZoom = false;
    QString m_lastAutoZoomMessage;
    bool m_isDropTargeted = false;
    bool m_showingExportSheet = false;
    bool m_showTutorial = false;
    int m_tutorialStep = 0;
    QTimer m_tutorialTimer;
};

} // namespace orvane
