#include "AssetProbe.h"

#include "FFmpegPtr.h"
#include "MediaSource.h"

#include <cmath>

extern "C" {
#include <libavutil/display.h>
}

namespace orvane {

namespace {

std::optional<double> seconds(std::int64_t ticks, AVRational timeBase) {
    if (ticks == AV_NOPTS_VALUE || ticks <= 0)
        return std::nullopt;
    return ticks * av_q2d(timeBase);
}

QString fourCC(std::uint32_t tag) {
    if (tag == 0)
        return {};
    char text[4];
    for (int i = 0; i < 4; ++i)
        text[i] = char((tag >> (8 * i)) & 0xff);
    return QString::fromLatin1(text, 4);
}

// The display matrix is stored for row vectors: a point (x, y) goes to (a x + c y, b x + d y), with the
// entries in 16.16 fixed point.
void applyDisplayMatrix(const AVStream* st, VideoTrackInfo& track) {
    track.displaySize = track.naturalSize;
    const auto* matrix = reinterpret_cast<const std::int32_t*>(
        av_stream_get_side_data(st, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
    if (!matrix)
        return;
    const double a = matrix[0] / 65536.0, b = matrix[1] / 65536.0;
    const double c = matrix[3] / 65536.0, d = matrix[4] / 65536.0;
    const double w = track.naturalSize.width, h = track.naturalSize.height;
    track.displaySize = {std::round(std::abs(a * w + c * h)), std::round(std::abs(b * w + d * h))};
    // FFmpeg measures counter-clockwise; a viewer turns the picture clockwise by the opposite angle.
    double degrees = -av_display_rotation_get(matrix);
    if (!std::isfinite(degrees))
        degrees = 0;
    degrees = std::fmod(degrees, 360.0);
    if (degrees < 0)
        degrees += 360.0;
    track.rotationDegrees = std::abs(degrees) < 1e-9 ? 0 : degrees;
}

bool decodesAFrame(ff::MediaSource& source, int streamIndex) {
    if (streamIndex < 0 || !source.openDecoder(streamIndex, 1))
        return false;
    ff::FramePtr frame(av_frame_alloc());
    auto got = source.decode(frame.get());
    return got && *got;
}

} // namespace

tl::expected<AssetInfo, MediaError> probeAsset(const QString& path) {
    auto opened = ff::MediaSource::open(path);
    if (!opened)
        return tl::unexpected(opened.error());
    ff::MediaSource& source = **opened;
    const AVFormatContext* fmt = source.format();

    AssetInfo info;
    info.container = QString::fromUtf8(fmt->iformat->name);
    if (const AVDictionaryEntry* brand = av_dict_get(fmt->metadata, "major_brand", nullptr, 0))
        info.brand = QString::fromUtf8(brand->value);

    double longest = 0;
    for (unsigned i = 0; i < fmt->nb_streams; ++i) {
        const AVStream* st = fmt->streams[i];
        const AVCodecParameters* par = st->codecpar;
        const auto duration = seconds(st->duration, st->time_base);
        if (duration)
            longest = std::max(longest, *duration);
        if (par->codec_type == AVMEDIA_TYPE_VIDEO && !(st->disposition & AV_DISPOSITION_ATTACHED_PIC)) {
            VideoTrackInfo track;
            track.streamIndex = int(i);
            track.codec = QString::fromUtf8(avcodec_get_name(par->codec_id));
            track.codecTag = fourCC(par->codec_tag);
            track.naturalSize = {double(par->width), double(par->height)};
            applyDisplayMatrix(st, track);
            if (st->avg_frame_rate.num > 0 && st->avg_frame_rate.den > 0)
                track.frameRate = av_q2d(st->avg_frame_rate);
            track.duration = duration;
            if (st->nb_frames > 0)
                track.frameCount = st->nb_frames;
            info.videoTracks.push_back(track);
        } else if (par->codec_type == AVMEDIA_TYPE_AUDIO) {
            AudioTrackInfo track;
            track.streamIndex = int(i);
            track.codec = QString::fromUtf8(avcodec_get_name(par->codec_id));
            track.sampleRate = par->sample_rate;
            track.channels = par->ch_layout.nb_channels;
            track.duration = duration;
            info.audioTracks.push_back(track);
        }
    }
    if (fmt->duration != AV_NOPTS_VALUE && fmt->duration > 0)
        info.duration = double(fmt->duration) / AV_TIME_BASE;
    else
        info.duration = longest;

    const int first = !info.videoTracks.empty()   ? info.videoTracks.front().streamIndex
                      : !info.audioTracks.empty() ? info.audioTracks.front().streamIndex
                                                  : -1;
    info.isPlayable = decodesAFrame(source, first);
    return info;
}

} // namespace orvane
