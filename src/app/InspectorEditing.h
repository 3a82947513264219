#pragma once

#include "InspectorControls.h"
#include "project/Project.h"

#include <QUuid>

#include <functional>
#include <optional>

namespace orvane {

class AppState;

// The inspector's writes to the selected clip. Every control works on a copy of the clip and puts it back
// with a save due and no undo step; a slider with an undo name makes its whole drag one undo step by
// remembering the project when the drag starts and committing it when the drag ends.
class InspectorEditing {
public:
    explicit InspectorEditing(AppState& app)
        : m_app(app) {}

    std::optional<QUuid> selectedClipID() const { return m_selectedClipID; }
    void setSelectedClipID(std::optional<QUuid> id) { m_selectedClipID = id; }
    // The selected clip as the open project has it, or none.
    std::optional<Clip> currentClip() const;

    // Without a project or a selection, or when the clip has gone, nothing happens.
    void update(const std::function<void(Clip&)>& transform);

    // A slider's drag: begin, any number of changes (each written at once, clamped to the range), end.
    void beginSliderEdit(const InspectorSlider& slider);
    void changeSlider(const InspectorSlider& slider, double value, int overlayIndex = -1);
    void endSliderEdit(const InspectorSlider& slider);
    bool isEditingSlider() const { return m_dragStartSnapshot.has_value(); }

private:
    AppState& m_app;
    std::optional<QUuid> m_selectedClipID;
    std::optional<Project> m_dragStartSnapshot;
};

} // namespace orvane
