#pragma once

#include "project/Clip.h"

#include <QString>
#include <QStringList>

#include <tl/expected.hpp>

#include <array>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace orvane {

// The inspector's tabs, in the order the tab picker shows them.
enum class InspectorTab {
    background,
    frame,
    cursor,
    zoom,
    camera,
    color,
    transition,
    text,
    captions,
    perspective,
    speed,
    keyframes,
    stickers,
    audio
};

struct InspectorTabInfo {
    InspectorTab tab;
    const char* rawValue;
    const char* labelKey;
    const char* symbol;
};

const std::array<InspectorTabInfo, 14>& inspectorTabs();
const InspectorTabInfo& tabInfo(InspectorTab tab);

// How a slider reads its value out loud.
enum class SliderUnit { percent, percentBoost, points, multiplier, seconds, raw };
QString formatSliderValue(SliderUnit unit, double value);

// One slider of the inspector: the field it writes, its range, how its value reads, and the undo step a
// whole drag of it makes (none for the sliders that write without one). `index` picks the image overlay
// for the sticker sliders and is ignored by the others.
struct InspectorSlider {
    InspectorTab tab;
    QString labelKey; // the string key; the English label when the row has no key of its own
    QString label;
    QString keyPath; // the field's JSON key path; "#" stands for the overlay's index
    double minimum = 0;
    double maximum = 1;
    std::function<QString(double)> display;
    std::optional<QString> undoName;
    std::optional<QString> undoKey;
    // None when the field does not exist on this clip (no transition, no such overlay, a background that
    // is not a blur).
    std::function<std::optional<double>(const Clip&, int index)> read;
    // False, changing nothing, where read gives none; except that the blur radius turns the background
    // into a blur, which is what its row does.
    std::function<bool(Clip&, int index, double value)> write;

    double clamped(double value) const { return std::clamp(value, minimum, maximum); }
    bool isPerOverlay() const { return keyPath.contains(u'#'); }
};

// A switch: writes true or false.
struct InspectorToggle {
    InspectorTab tab;
    QString labelKey;
    QString label;
    QString keyPath;
    std::function<bool(const Clip&)> read;
    std::function<void(Clip&, bool)> write;
};

// A picker over a fixed list of named values.
struct InspectorChoice {
    InspectorTab tab;
    QString labelKey;
    QString label;
    QString keyPath;
    QStringList values;                   // the names `set` takes, as the JSON writes them
    QStringList labels;                   // what the picker shows, in the same order
    QStringList labelKeys;                // their string keys, where they have them
    std::function<int(const Clip&)> read; // -1 when none applies
    std::function<void(Clip&, int)> write;
};

// Every slider, switch and picker of the inspector, in the order the tabs show them.
const std::vector<InspectorSlider>& inspectorSliders();
const std::vector<InspectorToggle>& inspectorToggles();
const std::vector<InspectorChoice>& inspectorChoices();
std::vector<const InspectorSlider*> slidersOf(InspectorTab tab);
std::vector<const InspectorToggle*> togglesOf(InspectorTab tab);
std::vector<const InspectorChoice*> choicesOf(InspectorTab tab);
const InspectorSlider* sliderByLabelKey(const QString& labelKey);

// The outcome of writing one field by its key path, as `set` reports it.
struct InspectorWrite {
    QString keyPath; // with the overlay's index filled in
    QString shown;   // the value written, as the control would show it
    std::optional<QString> undoName;
    bool clamped = false;
};

// Writes `valueText` into the field at `keyPath` of `clip` with the inspector's ranges and clamping.
// Besides the sliders', switches' and pickers' paths it takes "background.solid" (a #RRGGBB colour),
// "background.gradient" (a preset's name or index) and "camera.position" (topLeft … bottomRight). An
// unknown path or an unreadable value leaves the clip as it was and names the path and what it allows.
tl::expected<InspectorWrite, QString> writeInspectorField(Clip& clip, const QString& keyPath,
                                                          const QString& valueText);
// Every key path writeInspectorField takes ("#" for an overlay's index), for the usage text.
QStringList inspectorKeyPaths();

} // namespace orvane
