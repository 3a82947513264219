#pragma once

#include "project/AnimatablePropertyID.h"
#include "project/Clip.h"

#include <QString>
#include <QStringList>

#include <array>
#include <optional>

namespace orvane {

// What the inspector's buttons, chips and pickers do to a clip, beyond writing one number or flag. Each
// works on the clip it is given; the caller puts it back into the project (without an undo step).
namespace InspectorEdits {

// ---- background -------------------------------------------------------------------------------------
enum class BackgroundKind { gradient, solid, wallpaper, image, blur };
BackgroundKind backgroundKind(const BackgroundStyle& background);
// A fresh background of that kind; solid reads its colour from `solidColorHex` (black when unreadable),
// a gradient always starts from the third preset, not from whatever gradient the clip had before.
void switchBackgroundKind(Clip& clip, BackgroundKind kind, QStringView solidColorHex);
void selectGradient(Clip& clip, std::size_t presetIndex);
// The preset whose stops and angle the clip's gradient has, if any.
std::optional<std::size_t> selectedGradient(const Clip& clip);

// ---- camera -----------------------------------------------------------------------------------------
struct CameraGridCell {
    const char* name; // "topLeft" … "bottomRight"
    const char* labelKey;
    const char* label;
    NormalizedPoint position;
};
const std::array<CameraGridCell, 9>& cameraGrid();
std::optional<std::size_t> cameraGridIndex(const Clip& clip);

// ---- text -------------------------------------------------------------------------------------------
enum class TextPreset { titleCard, lowerThird, caption, plain };
// Appends a fading overlay of three seconds centred on the clip's middle; its id.
QUuid addTextOverlay(Clip& clip, TextPreset preset, const QString& text);
bool removeTextOverlay(Clip& clip, const QUuid& id);
bool setTextOverlayText(Clip& clip, const QUuid& id, const QString& text);

// ---- colour -----------------------------------------------------------------------------------------
inline constexpr const char* noLUTTag = "__none__";
// "__none__" clears the look; any other name picks that built-in table.
void chooseLUT(Clip& clip, const QString& tag);
void resetGrade(Clip& clip);

// ---- transition -------------------------------------------------------------------------------------
// `none` clears the transition; another kind keeps the clip's duration and easing, or starts from half a
// second on the cinematic curve.
void chooseTransition(Clip& clip, TransitionKind kind);
struct EasingChoice {
    const char* label;
    EasingCurve curve;
};
const std::array<EasingChoice, 7>& transitionEasings();
void setTransitionEasing(Clip& clip, std::size_t choice);
std::optional<std::size_t> transitionEasingIndex(const Clip& clip);

// ---- perspective ------------------------------------------------------------------------------------
void resetPerspective(Clip& clip);

// ---- speed ------------------------------------------------------------------------------------------
void enableSpeedRamp(Clip& clip);
void disableSpeedRamp(Clip& clip);
enum class SpeedPreset { slowMoIn, speedUp, freeze };
struct SpeedPresetInfo {
    SpeedPreset preset;
    const char* title;
    const char* symbol;
};
const std::array<SpeedPresetInfo, 3>& speedPresets();
void applySpeedPreset(Clip& clip, SpeedPreset preset);
// Where a rate sits on the ramp's drawing: 1 at rate 0.25, 0 at rate 4, linear in between.
double speedCurveY(double rate);

// ---- keyframes --------------------------------------------------------------------------------------
// A keyframe at `time` holding the track's value there (the property's neutral value on an empty track),
// on the cinematic curve.
void addKeyframe(Clip& clip, AnimatablePropertyID property, ProjectTime time);
bool deleteKeyframe(Clip& clip, AnimatablePropertyID property, std::size_t index);
void removeAllKeyframes(Clip& clip, AnimatablePropertyID property);
QString formatPropertyValue(AnimatablePropertyID property, double value);
// "m:ss.hh"
QString formatKeyframeTime(double seconds);

// ---- stickers ---------------------------------------------------------------------------------------
// Appends an image of a quarter size in the middle of the canvas for four seconds around the clip's
// middle; its id.
QUuid addImageOverlay(Clip& clip, const QString& imagePath);
bool removeImageOverlay(Clip& clip, const QUuid& id);

} // namespace InspectorEdits

} // namespace orvane
