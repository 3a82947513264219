#pragma once

namespace orvane {

// The four permissions the recorder works with, as this platform can tell them. On X11 nothing is asked
// of the user: each status says whether the facility is there and usable right now.
struct CapturePermissions {
    enum class Status { unknown, granted, denied, notDetermined };

    Status screenRecording = Status::unknown; // the X server lets this client read the screen
    Status camera = Status::unknown;          // a video device can be opened for reading
    Status microphone = Status::unknown;      // a PulseAudio server answers
    Status accessibility = Status::unknown;   // XInput 2 is there, so the input tap can listen

    bool operator==(const CapturePermissions&) const = default;
};

} // namespace orvane
