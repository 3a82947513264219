#include "FrameConverter.h"

#include <libyuv/planar_functions.h>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace orvane::ff {

YuvMatrix FrameConverter::matrixOf(const AVFrame* frame) {
    switch (frame->colorspace) {
    case AVCOL_SPC_BT709:
        return YuvMatrix::bt709;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return YuvMatrix::bt2020;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
    case AVCOL_SPC_FCC:
    case AVCOL_SPC_SMPTE240M:
        return YuvMatrix::bt601;
    default:
        return frame->width >= 1280 || frame->height > 576 ? YuvMatrix::bt709 : YuvMatrix::bt601;
    }
}

std::optional<PlanarPicture> FrameConverter::planesOf(const AVFrame* frame) {
    PlanarPicture p;
    bool fullRange = frame->color_range == AVCOL_RANGE_JPEG;
    switch (frame->format) {
    case AV_PIX_FMT_YUV420P:
        p.format = PlanarFormat::i420;
        break;
    case AV_PIX_FMT_YUVJ420P:
        p.format = PlanarFormat::i420;
        fullRange = true;
        break;
    case AV_PIX_FMT_NV12:
        p.format = PlanarFormat::nv12;
        break;
    case AV_PIX_FMT_YUV422P:
        p.format = PlanarFormat::i422;
        break;
    case AV_PIX_FMT_YUVJ422P:
        p.format = PlanarFormat::i422;
        fullRange = true;
        break;
    case AV_PIX_FMT_YUV444P:
        p.format = PlanarFormat::i444;
        break;
    case AV_PIX_FMT_YUVJ444P:
        p.format = PlanarFormat::i444;
        fullRange = true;
        break;
    case AV_PIX_FMT_YUV420P10LE:
        p.format = PlanarFormat::i010;
        break;
    default:
        return std::nullopt;
    }
    p.width = frame->width;
    p.height = frame->height;
    for (int i = 0; i < 3; ++i) {
        p.planes[i] = frame->data[i];
        p.strides[i] = frame->linesize[i];
    }
    p.matrix = matrixOf(frame);
    p.fullRange = fullRange;
    return p;
}

bool FrameConverter::toBgra(const AVFrame* frame, VideoFrame& dst) {
    if (dst.width() != frame->width || dst.height() != frame->height)
        return false;
    if (const auto planes = planesOf(frame))
        return convertToBgra(*planes, dst);

    const auto format = AVPixelFormat(frame->format);
    if (format != m_swsFormat || frame->width != m_swsWidth || frame->height != m_swsHeight) {
        // sws_getCachedContext makes a new context here, which forgets the colour details.
        m_swsColorspace = -1;
        m_swsFormat = format;
        m_swsWidth = frame->width;
        m_swsHeight = frame->height;
    }
    m_sws.reset(sws_getCachedContext(m_sws.release(), frame->width, frame->height, format, frame->width,
                                     frame->height, AV_PIX_FMT_BGRA, SWS_BILINEAR, nullptr, nullptr,
                                     nullptr));
    if (!m_sws)
        return false;
    const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(format);
    const bool isYuv = desc && !(desc->flags & AV_PIX_FMT_FLAG_RGB) && desc->nb_components >= 3;
    if (isYuv && (m_swsColorspace != frame->colorspace || m_swsRange != frame->color_range)) {
        // swscale's own guess for untagged input is BT.601; use the same rule as the fast paths.
        const int space = matrixOf(frame) == YuvMatrix::bt709    ? SWS_CS_ITU709
                          : matrixOf(frame) == YuvMatrix::bt2020 ? SWS_CS_BT2020
                                                                 : SWS_CS_ITU601;
        const int srcFull = frame->color_range == AVCOL_RANGE_JPEG ? 1 : 0;
        sws_setColorspaceDetails(m_sws.get(), sws_getCoefficients(space), srcFull,
                                 sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
        m_swsColorspace = frame->colorspace;
        m_swsRange = frame->color_range;
    }
    std::uint8_t* dstPlanes[4] = {dst.data(), nullptr, nullptr, nullptr};
    const int dstStrides[4] = {dst.stride(), 0, 0, 0};
    if (sws_scale(m_sws.get(), frame->data, frame->linesize, 0, frame->height, dstPlanes, dstStrides) <= 0)
        return false;
    if (desc && (desc->flags & AV_PIX_FMT_FLAG_ALPHA))
        libyuv::ARGBAttenuate(dst.data(), dst.stride(), dst.data(), dst.stride(), dst.width(), dst.height());
    return true;
}

} // namespace orvane::ff
