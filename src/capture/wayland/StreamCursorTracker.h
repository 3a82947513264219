#pragma once

#include "capture/CursorTrack.h"
#include "capture/SourceMapping.h"
#include "capture/wayland/PipeWireStream.h"
#include "project/MediaTime.h"

#include <chrono>
#include <mutex>
#include <optional>
#include <vector>

namespace orvane {

class TelemetryJournal;

// The cursor track of a Wayland recording, from the cursor metadata that comes with the screen stream's
// frames: the compositor tells where its pointer's hot spot is in each frame, so position and picture
// agree exactly. A sample is kept when the pointer moved (or came back into view), as the X11 tap keeps
// one per motion. Fed on PipeWire's thread; read and stopped anywhere.
class StreamCursorTracker {
public:
    // `streamSize` is what the compositor sends, `sourceSize` the movie's (the same but for an odd side).
    StreamCursorTracker(Size streamSize, Size sourceSize);

    // Empties the track; times count from now on the capture clock.
    void start();
    CursorTrack stop();

    void receive(const PipeWireStream::Cursor& cursor, MediaTime frameTime);

    // Where the pointer was last seen, in source pixels: where a click from the input devices lands.
    std::optional<Point> lastPosition() const;
    std::size_t sampleCount() const;
    void copyToJournal(std::size_t& samplesDone, TelemetryJournal& journal) const;

private:
    SourceMapping m_mapping;
    mutable std::mutex m_lock;
    std::optional<double> m_startSeconds;
    std::vector<CursorSample> m_samples;
    std::optional<Point> m_last;
    bool m_wasVisible = false;
};

} // namespace orvane
