#pragma once

#include "support/Error.h"

#include <QString>

namespace orvane {

// Why a capture could not start or stop. Each case has one fixed text; `system` carries the platform's
// own failure (no X server, a folder that cannot be made) with its text unchanged.
struct CaptureEngineError {
    enum class Kind {
        streamFailedToStart,
        writerFailed,
        noShareableContent,
        sourceNotFound,
        invalidConfiguration,
        alreadyRunning,
        notRunning,
        permissionDenied,
        system,
    };

    static constexpr const char* domain = "OrvaneScreen.CaptureEngine";

    Kind kind = Kind::system;
    QString detail; // the text of streamFailedToStart, writerFailed and system

    static CaptureEngineError streamFailedToStart(QString text) {
        return {Kind::streamFailedToStart, std::move(text)};
    }
    static CaptureEngineError writerFailed(QString text) { return {Kind::writerFailed, std::move(text)}; }
    static CaptureEngineError system(QString text) { return {Kind::system, std::move(text)}; }
    static CaptureEngineError of(Kind kind) { return {kind, {}}; }

    // The text a user reads: "Capture is already running.", "Asset writer failed: ...".
    QString message() const;
    // For the application's error sheet; the code is the case's position, `system` keeps the "System"
    // domain of a passed-on platform failure.
    Error toError() const;

    bool operator==(const CaptureEngineError&) const = default;
};

} // namespace orvane
