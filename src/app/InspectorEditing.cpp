#include "InspectorEditing.h"

#include "AppState.h"

namespace orvane {

std::optional<Clip> InspectorEditing::currentClip() const {
    const auto bundle = m_app.currentBundle();
    if (!bundle || !m_selectedClipID)
        return std::nullopt;
    const Clip* clip = bundle->project().timeline.clip(*m_selectedClipID);
    return clip ? std::optional<Clip>(*clip) : std::nullopt;
}

void InspectorEditing::update(const std::function<void(Clip&)>& transform) {
    auto clip = currentClip();
    if (!clip)
        return;
    transform(*clip);
    m_app.currentBundle()->update([&](Project& project) { project.timeline.update(*clip); });
}

void InspectorEditing::beginSliderEdit(const InspectorSlider& slider) {
    // A row without an undo name writes live and leaves no step at all.
    if (!slider.undoName)
        return;
    const auto bundle = m_app.currentBundle();
    m_dragStartSnapshot = bundle ? std::optional<Project>(bundle->project()) : std::nullopt;
}

void InspectorEditing::changeSlider(const InspectorSlider& slider, double value, int overlayIndex) {
    update([&](Clip& clip) { slider.write(clip, overlayIndex, slider.clamped(value)); });
}

void InspectorEditing::endSliderEdit(const InspectorSlider& slider) {
    if (!slider.undoName || !m_dragStartSnapshot)
        return;
    const Project before = std::move(*m_dragStartSnapshot);
    m_dragStartSnapshot.reset();
    m_app.commitEdit(*slider.undoName, before);
}

} // namespace orvane
