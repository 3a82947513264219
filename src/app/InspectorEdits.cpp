#include "InspectorEdits.h"

#include "project/AnimationBag.h"

#include <QFileInfo>

#include <algorithm>
#include <cmath>

namespace orvane::InspectorEdits {

namespace {

EasingCurve cinematic() {
    return EasingCurve::cinematic();
}

template <typename T>
bool removeByID(std::vector<T>& list, const QUuid& id) {
    const auto it = std::find_if(list.begin(), list.end(), [&](const T& item) { return item.id == id; });
    if (it == list.end())
        return false;
    list.erase(it);
    return true;
}

} // namespace

// ---- background -------------------------------------------------------------------------------------

BackgroundKind backgroundKind(const BackgroundStyle& background) {
    return std::visit(
        [](const auto& kind) {
            using K = std::decay_t<decltype(kind)>;
            if constexpr (std::is_same_v<K, BackgroundStyle::Solid>)
                return BackgroundKind::solid;
            else if constexpr (std::is_same_v<K, BackgroundStyle::Wallpaper>)
                return BackgroundKind::wallpaper;
            else if constexpr (std::is_same_v<K, BackgroundStyle::CustomImage>)
                return BackgroundKind::image;
            else if constexpr (std::is_same_v<K, BackgroundStyle::BlurredExtension>)
                return BackgroundKind::blur;
            else
                return BackgroundKind::gradient;
        },
        background.value);
}

void switchBackgroundKind(Clip& clip, BackgroundKind kind, QStringView solidColorHex) {
    switch (kind) {
    case BackgroundKind::gradient:
        clip.background = BackgroundStyle::gradient(
            BackgroundStyle::presetGradients()[BackgroundStyle::defaultPresetIndex].fill);
        break;
    case BackgroundKind::solid: {
        RGBAColor color = RGBAColor::fromHex(solidColorHex).value_or(RGBAColor::black());
        color.a = 1;
        clip.background = BackgroundStyle::solid(color);
        break;
    }
    case BackgroundKind::wallpaper:
        clip.background = BackgroundStyle::wallpaper(QStringLiteral("default"));
        break;
    case BackgroundKind::image:
        clip.background = BackgroundStyle::customImage(QByteArray());
        break;
    case BackgroundKind::blur:
        clip.background = BackgroundStyle::blurredExtension(60);
        break;
    }
}

void selectGradient(Clip& clip, std::size_t presetIndex) {
    const auto& presets = BackgroundStyle::presetGradients();
    if (presetIndex < presets.size())
        clip.background = BackgroundStyle::gradient(presets[presetIndex].fill);
}

std::optional<std::size_t> selectedGradient(const Clip& clip) {
    const auto* gradient = std::get_if<BackgroundStyle::Gradient>(&clip.background.value);
    if (!gradient)
        return std::nullopt;
    const auto& presets = BackgroundStyle::presetGradients();
    for (std::size_t i = 0; i < presets.size(); ++i)
        if (presets[i].fill.stops == gradient->fill.stops &&
            presets[i].fill.angleDegrees == gradient->fill.angleDegrees)
            return i;
    return std::nullopt;
}

// ---- camera -----------------------------------------------------------------------------------------

const std::array<CameraGridCell, 9>& cameraGrid() {
    static const std::array<CameraGridCell, 9> cells{{
        {"topLeft", "inspector.camera.position.topLeft", "Top Left", {0.08, 0.08}},
        {"topCenter", "inspector.camera.position.topCenter", "Top Center", {0.5, 0.08}},
        {"topRight", "inspector.camera.position.topRight", "Top Right", {0.92, 0.08}},
        {"middleLeft", "inspector.camera.position.middleLeft", "Middle Left", {0.08, 0.5}},
        {"middleCenter", "inspector.camera.position.middleCenter", "Middle Center", {0.5, 0.5}},
        {"middleRight", "inspector.camera.position.middleRight", "Middle Right", {0.92, 0.5}},
        {"bottomLeft", "inspector.camera.position.bottomLeft", "Bottom Left", {0.08, 0.92}},
        {"bottomCenter", "inspector.camera.position.bottomCenter", "Bottom Center", {0.5, 0.92}},
        {"bottomRight", "inspector.camera.position.bottomRight", "Bottom Right", {0.92, 0.92}},
    }};
    return cells;
}

std::optional<std::size_t> cameraGridIndex(const Clip& clip) {
    const auto& cells = cameraGrid();
    for (std::size_t i = 0; i < cells.size(); ++i)
        if (std::abs(cells[i].position.x - clip.camera.position.x) < 1e-6 &&
            std::abs(cells[i].position.y - clip.camera.position.y) < 1e-6)
            return i;
    return std::nullopt;
}

// ---- text -------------------------------------------------------------------------------------------

QUuid addTextOverlay(Clip& clip, TextPreset preset, const QString& text) {
    TextOverlay overlay;
    overlay.id = QUuid::createUuid();
    overlay.text = text;
    const double start = std::max(0.0, clip.timelineDuration().seconds * 0.5 - 1.5);
    overlay.timeRange = TimeRange::fromStartDuration(ProjectTime(start), ProjectTime(3));
    overlay.animation = TextOverlay::Animation::fadeIn;
    switch (preset) {
    case TextPreset::titleCard:
        overlay.style = TextStyle::titleCard();
        overlay.position = TextOverlay::Position::middleCenter;
        break;
    case TextPreset::lowerThird:
        overlay.style = TextStyle::lowerThird();
        overlay.position = TextOverlay::Position::lowerThird;
        break;
    case TextPreset::caption:
        overlay.style = TextStyle::caption();
        overlay.position = TextOverlay::Position::bottomCenter;
        break;
    case TextPreset::plain:
        overlay.style = TextStyle::defaults();
        overlay.position = TextOverlay::Position::lowerThird;
        break;
    }
    clip.textOverlays.push_back(overlay);
    return overlay.id;
}

bool removeTextOverlay(Clip& clip, const QUuid& id) {
    return removeByID(clip.textOverlays, id);
}

bool setTextOverlayText(Clip& clip, const QUuid& id, const QString& text) {
    for (TextOverlay& overlay : clip.textOverlays)
        if (overlay.id == id) {
            overlay.text = text;
            return true;
        }
    return false;
}

// ---- colour -----------------------------------------------------------------------------------------

void chooseLUT(Clip& clip, const QString& tag) {
    if (tag == QLatin1String(noLUTTag) || tag.isEmpty())
        clip.colorGrade.lutName.reset();
    else
        clip.colorGrade.lutName = tag;
}

void resetGrade(Clip& clip) {
    clip.colorGrade = ColorGrade::neutral();
}

// ---- transition -------------------------------------------------------------------------------------

void chooseTransition(Clip& clip, TransitionKind kind) {
    if (kind == TransitionKind::none) {
        clip.transitionIn.reset();
        return;
    }
    Transition transition;
    transition.kind = kind;
    transition.duration = clip.transitionIn ? clip.transitionIn->duration : ProjectTime(0.5);
    transition.easing = clip.transitionIn ? clip.transitionIn->easing : cinematic();
    clip.transitionIn = transition;
}

const std::array<EasingChoice, 7>& transitionEasings() {
    static const std::array<EasingChoice, 7> choices{{
        {"Linear", EasingCurve::linear()},
        {"Ease In", EasingCurve::easeIn()},
        {"Ease Out", EasingCurve::easeOut()},
        {"Ease In Out", EasingCurve::easeInOut()},
        {"Cinematic", EasingCurve::cinematic()},
        {"Smooth Step", EasingCurve::smoothStep()},
        {"Spring", EasingCurve::spring()},
    }};
    return choices;
}

void setTransitionEasing(Clip& clip, std::size_t choice) {
    if (clip.transitionIn && choice < transitionEasings().size())
        clip.transitionIn->easing = transitionEasings()[choice].curve;
}

std::optional<std::size_t> transitionEasingIndex(const Clip& clip) {
    if (!clip.transitionIn)
        return std::nullopt;
    const auto& choices = transitionEasings();
    for (std::size_t i = 0; i < choices.size(); ++i)
        if (choices[i].curve.kind == clip.transitionIn->easing.kind)
            return i;
    return std::nullopt;
}

// ---- perspective ------------------------------------------------------------------------------------

void resetPerspective(Clip& clip) {
    clip.frame.perspective = PerspectiveStyle::defaults();
}

// ---- speed ------------------------------------------------------------------------------------------

void enableSpeedRamp(Clip& clip) {
    const ProjectTime span = clip.sourceOut - clip.sourceIn;
    clip.speedRamp = KeyframeTrack<double>({{ProjectTime(0), 1.0, cinematic()}, {span, 1.0, cinematic()}});
}

void disableSpeedRamp(Clip& clip) {
    clip.speedRamp = KeyframeTrack<double>();
}

const std::array<SpeedPresetInfo, 3>& speedPresets() {
    static const std::array<SpeedPresetInfo, 3> presets{{
        {SpeedPreset::slowMoIn, "Slow Mo In", "tortoise"},
        {SpeedPreset::speedUp, "Speed Up", "hare"},
        {SpeedPreset::freeze, "Freeze", "pause.circle"},
    }};
    return presets;
}

void applySpeedPreset(Clip& clip, SpeedPreset preset) {
    const double s = (clip.sourceOut - clip.sourceIn).seconds;
    std::vector<std::pair<double, double>> points;
    switch (preset) {
    case SpeedPreset::slowMoIn:
        points = {{0, 1}, {1, 0.25}};
        break;
    case SpeedPreset::speedUp:
        points = {{0, 1}, {1, 2}};
        break;
    case SpeedPreset::freeze:
        // A rate of exactly 0 would never reach the end of the clip.
        points = {{0, 1}, {std::max(s / 2 - 0.5, 0.1), 0.01}, {std::min(s / 2 + 0.5, s), 1}};
        break;
    }
    KeyframeTrack<double> track;
    for (const auto& [time, rate] : points)
        track.insert({ProjectTime(time), rate, cinematic()});
    clip.speedRamp = track;
}

double speedCurveY(double rate) {
    return std::clamp((4.0 - rate) / (4.0 - 0.25), 0.0, 1.0);
}

// ---- keyframes --------------------------------------------------------------------------------------

void addKeyframe(Clip& clip, AnimatablePropertyID property, ProjectTime time) {
    KeyframeTrack<double>& track = clip.animations.tracks[property];
    const double value = track.value(time, propertyInfo(property).defaultValue);
    track.insert({time, value, cinematic()});
}

bool deleteKeyframe(Clip& clip, AnimatablePropertyID property, std::size_t index) {
    const auto it = clip.animations.tracks.find(property);
    if (it == clip.animations.tracks.end() || index >= it->second.keyframes.size())
        return false;
    it->second.keyframes.erase(it->second.keyframes.begin() + std::ptrdiff_t(index));
    return true;
}

void removeAllKeyframes(Clip& clip, AnimatablePropertyID property) {
    clip.animations.tracks.erase(property);
}

QString formatPropertyValue(AnimatablePropertyID property, double value) {
    switch (property) {
    case AnimatablePropertyID::scale:
        return QString::asprintf("%.2fx", value);
    case AnimatablePropertyID::opacity:
        return QString::asprintf("%.0f%%", value * 100);
    case AnimatablePropertyID::positionX:
    case AnimatablePropertyID::positionY:
    case AnimatablePropertyID::blur:
        return QString::asprintf("%.1f px", value);
    case AnimatablePropertyID::exposure:
        return QString::asprintf("%+.2f EV", value);
    default:
        return QString::asprintf("%.2f", value);
    }
}

QString formatKeyframeTime(double seconds) {
    const int hundredths = int(std::lround(std::max(0.0, seconds) * 100));
    return QString::asprintf("%d:%02d.%02d", hundredths / 6000, (hundredths / 100) % 60, hundredths % 100);
}

// ---- stickers ---------------------------------------------------------------------------------------

QUuid addImageOverlay(Clip& clip, const QString& imagePath) {
    ImageOverlay overlay;
    overlay.id = QUuid::createUuid();
    const double start = std::max(0.0, clip.timelineDuration().seconds * 0.5 - 2);
    overlay.timeRange = TimeRange::fromStartDuration(ProjectTime(start), ProjectTime(4));
    overlay.position = NormalizedPoint::center();
    overlay.scale = 0.25;
    overlay.rotation = 0;
    overlay.opacity = 1;
    overlay.cornerRadius = 0;
    overlay.shadow = ShadowStyle::none();
    // The bookmark of a picked file on this platform is its absolute path.
    overlay.imageBookmark = QFileInfo(imagePath).absoluteFilePath().toUtf8();
    clip.imageOverlays.push_back(overlay);
    return overlay.id;
}

bool removeImageOverlay(Clip& clip, const QUuid& id) {
    return removeByID(clip.imageOverlays, id);
}

} // namespace orvane::InspectorEdits
