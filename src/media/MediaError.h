#pragma once

#include <QString>

namespace orvane {

// The error of a media operation, returned as a value on every hot path. Three domains:
// "FFmpeg" carries the library's AVERROR code, "OrvaneScreen.Media" one of MediaError::Code, and
// "OrvaneScreen" the codes of the sample movie. `description` is a full sentence for the user, with the
// operation that failed and the library's own text.
struct MediaError {
    enum Code {
        fileNotFound = 1,
        notAFile,
        unsupportedMedia,
        noVideoTrack,
        noAudioTrack,
        notReady,
        finished,
        invalidSettings,
        timeOutOfOrder,
        cancelled,
        timedOut,
    };

    QString domain;
    int code = 0;
    QString description;

    static constexpr const char* ffmpegDomain = "FFmpeg";
    static constexpr const char* mediaDomain = "OrvaneScreen.Media";

    static MediaError media(Code code, QString description) {
        return {QString::fromLatin1(mediaDomain), code, std::move(description)};
    }
    // `context` says what was being done ("Opening the decoder"); the library's text follows it.
    static MediaError ffmpeg(int averror, const QString& context);

    bool is(Code c) const { return code == c && domain == QLatin1String(mediaDomain); }
    bool operator==(const MediaError&) const = default;
};

} // namespace orvane
