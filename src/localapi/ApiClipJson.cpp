#include "ApiClipJson.h"

#include <cmath>

namespace orvane {

double roundedSeconds(double seconds) {
    return std::round(seconds * 100.0) / 100.0;
}

JsonObject clipSummaryJson(const Clip& clip) {
    // Listing a long timeline builds one of these per clip on every request: members are appended by move
    // into room made up front, where braces would copy each key and value once more and grow the list
    // step by step.
    JsonObject summary;
    summary.reserve(11);
    summary.append("id", uuidString(clip.id));
    summary.append("name", clip.name);
    summary.append("trackIndex", clip.trackIndex);
    summary.append("isAudioOnly", clip.sourceVideoPath.isEmpty());
    summary.append("timelineStart", roundedSeconds(clip.timelineStart.seconds));
    summary.append("duration", roundedSeconds(clip.timelineDuration().seconds));
    summary.append("speed", clip.speed);
    summary.append("hasTransition", clip.transitionIn.has_value());
    summary.append("textOverlayCount", int(clip.textOverlays.size()));
    summary.append("hasCaptions", clip.captions.has_value());
    summary.append("hasAutoZoom", clip.autoZoom.isEnabled);
    return summary;
}

namespace {

JsonObject backgroundJson(const BackgroundStyle& background) {
    return std::visit(
        [](const auto& c) -> JsonObject {
            using T = std::decay_t<decltype(c)>;
            if constexpr (std::is_same_v<T, BackgroundStyle::Solid>)
                return {{"style", "solid"},
                        {"r", c.color.r},
                        {"g", c.color.g},
                        {"b", c.color.b},
                        {"a", c.color.a}};
            else if constexpr (std::is_same_v<T, BackgroundStyle::Gradient>)
                return {{"style", "gradient"}};
            else if constexpr (std::is_same_v<T, BackgroundStyle::Wallpaper>)
                return {{"style", "wallpaper"}, {"name", c.name}};
            else if constexpr (std::is_same_v<T, BackgroundStyle::CustomImage>)
                return {{"style", "customImage"}};
            else
                return {{"style", "blur"}, {"blurRadius", c.blurRadius}};
        },
        background.value);
}

const char* shadowPreset(const ShadowStyle& shadow) {
    if (shadow.opacity == 0)
        return "none";
    if (shadow.radius <= 20)
        return "subtle";
    if (shadow.radius <= 60)
        return "premium";
    return "dramatic";
}

const char* chromeName(const ChromeStyle& chrome) {
    return std::visit(
        [](const auto& c) -> const char* {
            using T = std::decay_t<decltype(c)>;
            if constexpr (std::is_same_v<T, ChromeStyle::MacOSWindow>) {
                return "macOS";
            } else if constexpr (std::is_same_v<T, ChromeStyle::Browser>) {
                using B = ChromeStyle::BrowserTheme;
                if (c.theme == B::safariLight || c.theme == B::safariDark)
                    return "safari";
                if (c.theme == B::chromeLight || c.theme == B::chromeDark)
                    return "chrome";
                return "arc";
            } else if constexpr (std::is_same_v<T, ChromeStyle::Mobile>) {
                using D = ChromeStyle::MobileDevice;
                if (c.device == D::iPadPro)
                    return "ipad";
                if (c.device == D::pixel8)
                    return "pixel";
                return "iphone";
            } else {
                return "none";
            }
        },
        chrome.value);
}

bool gradeShown(const ColorGrade& g) {
    return !(g.exposure == 0 && g.vibrance == 0 && g.temperature == 0 && g.tint == 0 && g.highlights == 0 &&
             g.shadows == 0 && g.contrast == 1 && g.saturation == 1 && !g.lutName && !g.customLUTBookmark);
}

} // namespace

JsonObject clipDetailJson(const Clip& clip) {
    JsonObject detail = clipSummaryJson(clip);
    detail.insert("sourceVideoPath", clip.sourceVideoPath);
    detail.insert("sourceAudioPath",
                  clip.sourceAudioPath ? JsonValue(*clip.sourceAudioPath) : JsonValue(nullptr));
    detail.insert("sourceSize", JsonObject{{"width", qint64(std::llround(clip.sourceSize.width))},
                                           {"height", qint64(std::llround(clip.sourceSize.height))}});
    detail.insert("sourceIn", clip.sourceIn.seconds);
    detail.insert("sourceOut", clip.sourceOut.seconds);
    detail.insert("background", backgroundJson(clip.background));
    detail.insert("frame", JsonObject{{"padding", clip.frame.paddingFraction},
                                      {"cornerRadius", clip.frame.cornerRadius},
                                      {"shadowPreset", shadowPreset(clip.frame.shadow)},
                                      {"chrome", chromeName(clip.frame.chrome)}});
    if (gradeShown(clip.colorGrade)) {
        const ColorGrade& g = clip.colorGrade;
        JsonObject grade{{"exposure", g.exposure},       {"contrast", g.contrast},
                         {"saturation", g.saturation},   {"vibrance", g.vibrance},
                         {"temperature", g.temperature}, {"tint", g.tint},
                         {"highlights", g.highlights},   {"shadows", g.shadows}};
        if (g.lutName)
            grade.insert("lut", *g.lutName);
        detail.insert("colorGrade", std::move(grade));
    }
    if (clip.transitionIn)
        detail.insert("transition", JsonObject{{"kind", std::string(enumName(clip.transitionIn->kind))},
                                               {"duration", clip.transitionIn->duration.seconds}});
    if (!clip.textOverlays.empty()) {
        JsonArray overlays;
        for (const TextOverlay& t : clip.textOverlays)
            overlays.append(JsonObject{{"id", uuidString(t.id)},
                                       {"text", t.text},
                                       {"position", std::string(enumName(t.position))},
                                       {"startTime", t.timeRange.start.seconds},
                                       {"duration", t.timeRange.duration.seconds},
                                       {"animation", std::string(enumName(t.animation))}});
        detail.insert("textOverlays", std::move(overlays));
    }
    if (clip.captions)
        detail.insert("captionCount", int(clip.captions->captions.size()));
    detail.insert("audio", JsonObject{{"systemVolume", clip.audio.systemAudioVolume},
                                      {"micVolume", clip.audio.micVolume},
                                      {"ducking", clip.audio.ducking},
                                      {"noiseSuppression", clip.audio.noiseSuppression}});
    return detail;
}

const Clip* lastClip(const std::shared_ptr<ProjectBundle>& bundle) {
    if (!bundle || bundle->project().timeline.clips.empty())
        return nullptr;
    return &bundle->project().timeline.clips.back();
}

} // namespace orvane
