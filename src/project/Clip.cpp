#include "Clip.h"

#include "Json.h"

#include <algorithm>

namespace orvane {

namespace {
constexpr double minimumSpeed = 0.01;
}

ProjectTime Clip::timelineDuration() const {
    return ProjectTime((sourceOut - sourceIn).seconds / std::max(speed, minimumSpeed));
}

ProjectTime Clip::sourceTime(ProjectTime timelineTime) const {
    return sourceIn + ProjectTime(std::max(0.0, (timelineTime - timelineStart).seconds) * speed);
}

void fromJson(const JsonIn& in, Clip& out) {
    const JsonObjectIn o(in);
    out.id = o.required<QUuid>("id");
    out.name = o.required<QString>("name");
    out.trackIndex = o.value<int>("trackIndex", 0);
    out.sourceVideoPath = o.required<QString>("sourceVideoPath");
    out.sourceAudioPath = o.optional<QString>("sourceAudioPath");
    out.sourceCursorPath = o.optional<QString>("sourceCursorPath");
    out.sourceEventsPath = o.optional<QString>("sourceEventsPath");
    out.sourceCameraPath = o.optional<QString>("sourceCameraPath");
    out.sourceIn = o.required<ProjectTime>("sourceIn");
    out.sourceOut = o.required<ProjectTime>("sourceOut");
    out.timelineStart = o.required<ProjectTime>("timelineStart");
    out.sourceSize = o.required<Size>("sourceSize");
    out.speed = o.value<double>("speed", 1.0);

    out.background = o.required<BackgroundStyle>("background");
    out.frame = o.required<FrameStyle>("frame");
    out.cursor = o.required<CursorStyle>("cursor");
    out.camera = o.value("camera", CameraOverlay::defaults());
    out.cameraEnabledTrack = o.value("cameraEnabledTrack", KeyframeTrack<double>());
    out.zoomTrack = o.value("zoomTrack", KeyframeTrack<NormalizedRect>());
    out.autoZoom = o.value("autoZoom", AutoZoomConfig::defaults());
    out.audio = o.value("audio", AudioConfig::defaults());
    out.textOverlays = o.value("textOverlays", std::vector<TextOverlay>());
    out.captions = o.optional<CaptionsTrack>("captions");
    out.speedRamp = o.value("speedRamp", KeyframeTrack<double>());
    out.transitionIn = o.optional<Transition>("transitionIn");
    out.colorGrade = o.value("colorGrade", ColorGrade::neutral());
    out.animations = o.value("animations", AnimationBag::empty());
    out.imageOverlays = o.value("imageOverlays", std::vector<ImageOverlay>());
    out.motionBlur = o.value("motionBlur", MotionBlurConfig::defaults());
    out.showKeystrokes = o.value("showKeystrokes", false);
    out.cameraLayout = o.value("cameraLayout", CameraLayout::pip);
    out.depthOfField = o.value("depthOfField", DepthOfFieldConfig::defaults());
    out.chromaticAberration = o.value("chromaticAberration", ChromaticAberrationConfig::defaults());
    out.dynamicVignette = o.value("dynamicVignette", DynamicVignetteConfig::defaults());
    out.filmLook = o.value("filmLook", FilmLookConfig::defaults());
    out.cursorTrail = o.value("cursorTrail", CursorTrailConfig::defaults());
    out.spotlight = o.value("spotlight", SpotlightConfig::defaults());
    out.annotations = o.value("annotations", std::vector<Annotation>());
}

JsonValue toJson(const Clip& c) {
    JsonObjectOut o;
    o.set("id", c.id)
        .set("name", c.name)
        .set("trackIndex", c.trackIndex)
        .set("sourceVideoPath", c.sourceVideoPath)
        .set("sourceAudioPath", c.sourceAudioPath)
        .set("sourceCursorPath", c.sourceCursorPath)
        .set("sourceEventsPath", c.sourceEventsPath)
        .set("sourceCameraPath", c.sourceCameraPath)
        .set("sourceIn", c.sourceIn)
        .set("sourceOut", c.sourceOut)
        .set("timelineStart", c.timelineStart)
        .set("sourceSize", c.sourceSize)
        .set("speed", c.speed)
        .set("background", c.background)
        .set("frame", c.frame)
        .set("cursor", c.cursor)
        .set("camera", c.camera)
        .set("cameraEnabledTrack", c.cameraEnabledTrack)
        .set("zoomTrack", c.zoomTrack)
        .set("autoZoom", c.autoZoom)
        .set("audio", c.audio)
        .set("textOverlays", c.textOverlays)
        .set("captions", c.captions)
        .set("speedRamp", c.speedRamp)
        .set("transitionIn", c.transitionIn)
        .set("colorGrade", c.colorGrade)
        .set("animations", c.animations)
        .set("imageOverlays", c.imageOverlays)
        .set("motionBlur", c.motionBlur)
        .set("showKeystrokes", c.showKeystrokes)
        .set("cameraLayout", c.cameraLayout)
        .set("depthOfField", c.depthOfField)
        .set("chromaticAberration", c.chromaticAberration)
        .set("dynamicVignette", c.dynamicVignette)
        .set("filmLook", c.filmLook)
        .set("cursorTrail", c.cursorTrail)
        .set("spotlight", c.spotlight)
        .set("annotations", c.annotations);
    return o.take();
}

} // namespace orvane
