#pragma once

namespace orvane {

// The floating recording control. The recording flow shows it once the engine runs and hides it before
// the engine stops; the desktop build supplies the window, the command line none.
class RecordingHUDPresenter {
public:
    virtual ~RecordingHUDPresenter() = default;
    // Hides the visible main window (remembering it) and shows the control at the top of the screen.
    virtual void show() = 0;
    // Drops the control and brings back the window it hid, if any.
    virtual void hide() = 0;
};

} // namespace orvane
