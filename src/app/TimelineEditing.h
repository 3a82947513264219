#pragma once

#include "project/Project.h"

#include <QPointF>
#include <QString>
#include <QUuid>

#include <optional>
#include <vector>

namespace orvane {

class AppState;
class UserDefaults;

// The timeline's rules: how pixels map to time, and what dragging the playhead, a clip, a trim handle or a
// track divider does to the open project. Views draw from it and hand it their gestures; every decision
// and every record change is made here, through AppState's performEdit and commitEdit, so that each
// gesture is one undo step.
//
// Gestures come as "change" calls carrying the translation since the gesture began (as a drag handler
// reports it) and one "end" call. A change below the gesture's minimum distance does not start it.
class TimelineEditing {
public:
    static constexpr double headerWidth = 132;
    static constexpr double trackGap = 6;
    static constexpr double rulerHeight = 26;
    static constexpr double playheadHandleSize = 14;
    static constexpr double snapToleranceSeconds = 0.2;
    static constexpr double minTrackHeight = 32;
    static constexpr double maxTrackHeight = 160;
    static constexpr double minPixelsPerSecond = 16;
    static constexpr double maxPixelsPerSecond = 400;
    static constexpr double defaultPixelsPerSecond = 80;
    static constexpr double moveMinimumDistance = 4;
    static constexpr double trimMinimumDistance = 2;
    static constexpr const char* rippleEditKey = "orvane.screen.rippleEdit";

    TimelineEditing(AppState& app, UserDefaults& defaults);

    // ---- geometry ---------------------------------------------------------------------------------
    double pixelsPerSecond() const { return m_pixelsPerSecond; }
    // Limited to minPixelsPerSecond...maxPixelsPerSecond, as the footer's slider writes it.
    void setPixelsPerSecond(double value);
    void zoomTimeline(double factor); // Ctrl+= and Ctrl++ use 1.25, Ctrl+- 0.8
    // The project's tracks; the default three when no project is open or it has none.
    std::vector<Timeline::Track> tracks() const;
    double contentWidth() const;
    double trackY(int index) const;
    int trackIndexAtY(double y) const;
    double clipX(const Clip& clip) const;
    double clipWidth(const Clip& clip) const;
    // The row of a clip as drawn: its track's y, plus the vertical offset while it is being dragged.
    double computeDragY(const Clip& clip) const;
    // Whole seconds as "m:ss".
    static QString formatSeconds(double seconds);
    // The nearest clip start or end within snapToleranceSeconds of `time`, over every track.
    std::optional<double> snappedToClipBoundary(double time,
                                                const std::optional<QUuid>& excludingClipID = std::nullopt) const;

    // ---- the playhead ------------------------------------------------------------------------------
    double playheadTime() const { return m_playheadTime; }
    void setPlayheadTime(double seconds) { m_playheadTime = seconds; }
    void scrubPlayhead(double x, bool shiftPressed);
    // A drag of the playhead handle or in the ruler: each change scrubs.
    void changePlayheadDrag(double x, bool shiftPressed);
    void endPlayheadDrag();
    bool isDraggingPlayhead() const { return m_isDraggingPlayhead; }

    // ---- moving a clip -----------------------------------------------------------------------------
    void changeClipDrag(const QUuid& clipID, QPointF translation);
    void endClipDrag(QPointF translation);
    // "Move Clip": snaps the start, then the end (which wins), changes track past 30 points vertically.
    void commitClipDrag(const QUuid& clipID, QPointF translation);
    std::optional<QUuid> draggingClipID() const { return m_draggingClipID; }
    QPointF dragOffset() const { return m_dragOffset; }

    // ---- trimming ----------------------------------------------------------------------------------
    void changeTrim(const QUuid& clipID, bool isLeft, double translationX);
    void endTrim();
    // Live, from the clip as it stood when the trim began; saved but not an undo step.
    void applyTrimPreview(const QUuid& clipID, bool isLeft, double deltaSeconds);
    // "Trim Clip Start" or "Trim Clip End", with the ripple of later clips in the same step.
    void commitTrim(const QUuid& clipID, bool isLeft);
    std::optional<QUuid> trimmingClipID() const { return m_trimmingClipID; }
    bool trimmingLeftEdge() const { return m_trimmingLeftEdge; }
    double trimOffsetX() const { return m_trimOffsetX; }

    // ---- split, delete, in and out points ----------------------------------------------------------
    // "Split Clip" at the playhead: the first clip in list order that holds it more than 0.05 s from
    // either edge. Whether a clip was split.
    bool splitClipAtPlayhead();
    // "Delete Clip"; the selection moves to the first clip left, or none.
    std::optional<QUuid> deleteClip(const QUuid& clipID);
    void setInPointAtPlayhead(const QUuid& clipID);  // "Set In Point"
    void setOutPointAtPlayhead(const QUuid& clipID); // "Set Out Point"

    // ---- tracks ------------------------------------------------------------------------------------
    // Flip a track's flag; saved, not an undo step.
    void toggleTrackMuted(int index);
    void toggleTrackLocked(int index);
    void toggleTrackVisible(int index);
    // The divider under a track header: live height within minTrackHeight...maxTrackHeight.
    void changeTrackResize(int index, double translationY);
    void commitTrackResize(); // "Resize Track"
    std::optional<int> resizingTrackIndex() const { return m_resizingTrackIndex; }

    // ---- ripple ------------------------------------------------------------------------------------
    bool rippleEdit() const; // stored under rippleEditKey, on unless turned off
    void setRippleEdit(bool on);

private:
    AppState& m_app;
    UserDefaults& m_defaults;
    double m_pixelsPerSecond = defaultPixelsPerSecond;
    double m_playheadTime = 0;
    bool m_isDraggingPlayhead = false;

    std::optional<QUuid> m_draggingClipID;
    QPointF m_dragOffset;
    std::optional<Project> m_dragProjectSnapshot;
    int m_dragOriginalTrackIndex = 0;

    std::optional<QUuid> m_trimmingClipID;
    bool m_trimmingLeftEdge = false;
    double m_trimOffsetX = 0;
    std::optional<Project> m_trimProjectSnapshot;

    std::optional<int> m_resizingTrackIndex;
    double m_resizingTrackInitialHeight = 0;
    std::optional<Project> m_resizingTrackProjectSnapshot;
};

} // namespace orvane
