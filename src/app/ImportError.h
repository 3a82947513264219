#pragma once

#include <QString>

namespace orvane {

// Why one file could not be imported, with the message the user reads.
struct ImportError {
    enum class Kind {
        unsupportedFormat,
        fileMissing,
        invalidAsset,
        noVideoTrack,
        noAudioTrack,
        copyFailed,
        other
    };

    Kind kind = Kind::other;
    QString name;       // the file's last path component
    QString expected;   // unsupportedFormat: the formats that would do
    QString underlying; // invalidAsset, copyFailed, other: the cause's own text

    static constexpr const char* expectedVideo = "MOV, MP4, M4V, MKV";
    static constexpr const char* expectedAudio = "MP3, M4A, WAV, AIFF, FLAC";

    // Empty for `other`, which is not an import error of its own (a project that cannot be made, say).
    QString userFacingMessage() const;
    bool operator==(const ImportError&) const = default;
};

} // namespace orvane
