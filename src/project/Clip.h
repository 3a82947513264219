#pragma once

#include "AnimationBag.h"
#include "Annotation.h"
#include "AudioConfig.h"
#include "AutoZoomConfig.h"
#include "BackgroundStyle.h"
#include "CameraOverlay.h"
#include "CaptionsTrack.h"
#include "ChromaticAberrationConfig.h"
#include "ColorGrade.h"
#include "CursorStyle.h"
#include "CursorTrailConfig.h"
#include "DepthOfFieldConfig.h"
#include "DynamicVignetteConfig.h"
#include "FilmLookConfig.h"
#include "FrameStyle.h"
#include "Geometry.h"
#include "ImageOverlay.h"
#include "KeyframeTrack.h"
#include "MotionBlurConfig.h"
#include "ProjectTime.h"
#include "SpotlightConfig.h"
#include "TextOverlay.h"
#include "Transition.h"

#include <QString>
#include <QUuid>

#include <optional>
#include <vector>

namespace orvane {

// One piece of source media placed on the timeline, with every style and overlay that applies to it.
// Paths are relative to the project folder. Nothing here is baked into the media: the compositor reads
// these values for every frame.
struct Clip {
    QUuid id;
    QString name;
    int trackIndex = 0;
    QString sourceVideoPath;
    std::optional<QString> sourceAudioPath;
    std::optional<QString> sourceCursorPath;
    std::optional<QString> sourceEventsPath;
    std::optional<QString> sourceCameraPath;
    ProjectTime sourceIn;
    ProjectTime sourceOut;
    ProjectTime timelineStart;
    Size sourceSize;
    double speed = 1.0;

    BackgroundStyle background;
    FrameStyle frame;
    CursorStyle cursor;
    CameraOverlay camera;
    KeyframeTrack<double> cameraEnabledTrack;
    KeyframeTrack<NormalizedRect> zoomTrack;
    AutoZoomConfig autoZoom;
    AudioConfig audio;
    std::vector<TextOverlay> textOverlays;
    std::optional<CaptionsTrack> captions;
    KeyframeTrack<double> speedRamp;
    std::optional<Transition> transitionIn;
    ColorGrade colorGrade = ColorGrade::neutral();
    AnimationBag animations;
    std::vector<ImageOverlay> imageOverlays;
    MotionBlurConfig motionBlur;
    bool showKeystrokes = false;
    CameraLayout cameraLayout = CameraLayout::pip;
    DepthOfFieldConfig depthOfField;
    ChromaticAberrationConfig chromaticAberration;
    DynamicVignetteConfig dynamicVignette;
    FilmLookConfig filmLook;
    CursorTrailConfig cursorTrail;
    SpotlightConfig spotlight;
    std::vector<Annotation> annotations;

    // The length on the timeline; a zero or negative speed counts as 0.01 so that nothing divides by zero.
    ProjectTime timelineDuration() const;
    // The source time shown at timeline time `t`. Not limited by sourceOut, and blind to speedRamp,
    // which export and preview apply themselves.
    ProjectTime sourceTime(ProjectTime timelineTime) const;
    ProjectTime timelineEnd() const { return timelineStart + timelineDuration(); }

    bool operator==(const Clip&) const = default;
};

void fromJson(const JsonIn& in, Clip& out);
JsonValue toJson(const Clip& value);

} // namespace orvane
