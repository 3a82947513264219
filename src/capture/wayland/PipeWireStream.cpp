#include "PipeWireStream.h"

#include "support/Log.h"

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>
#pragma GCC diagnostic pop

#include <atomic>
#include <mutex>

namespace orvane {

namespace {

struct ThreadLoopDeleter {
    void operator()(pw_thread_loop* loop) const { pw_thread_loop_destroy(loop); }
};
struct ContextDeleter {
    void operator()(pw_context* context) const { pw_context_destroy(context); }
};
struct CoreDeleter {
    void operator()(pw_core* core) const { pw_core_disconnect(core); }
};
struct StreamDeleter {
    void operator()(pw_stream* stream) const { pw_stream_destroy(stream); }
};
struct RegistryDeleter {
    void operator()(pw_registry* registry) const { pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry)); }
};

// The cursor bitmap we accept: up to 256 px square in 32-bit RGB.
constexpr int cursorMetaSize(int side) {
    return int(sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap)) + side * side * 4;
}

std::int64_t monotonicNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

std::optional<PipeWireStream::PixelOrder> pixelOrder(std::uint32_t format) {
    switch (format) {
    case SPA_VIDEO_FORMAT_BGRx:
        return PipeWireStream::PixelOrder::bgrx;
    case SPA_VIDEO_FORMAT_RGBx:
        return PipeWireStream::PixelOrder::rgbx;
    case SPA_VIDEO_FORMAT_BGRA:
        return PipeWireStream::PixelOrder::bgra;
    case SPA_VIDEO_FORMAT_RGBA:
        return PipeWireStream::PixelOrder::rgba;
    default:
        return std::nullopt;
    }
}

} // namespace

struct PipeWireStream::Impl {
    Options options;
    std::unique_ptr<pw_thread_loop, ThreadLoopDeleter> loop;
    std::unique_ptr<pw_context, ContextDeleter> context;
    std::unique_ptr<pw_core, CoreDeleter> core;
    std::unique_ptr<pw_registry, RegistryDeleter> registry;
    std::unique_ptr<pw_stream, StreamDeleter> stream;
    spa_hook coreListener{};
    spa_hook registryListener{};
    pw_registry_events registryEvents{};
    spa_hook streamListener{};
    pw_core_events coreEvents{};
    pw_stream_events streamEvents{};

    // Written and read on PipeWire's thread only, apart from size(), which locks the loop.
    int width = 0;
    int height = 0;
    std::optional<PixelOrder> order;
    std::optional<Cursor> lastCursor;
    std::uint64_t frames = 0;
    bool streamed = false;
    std::atomic<bool> ended{false};
    bool stopped = false;

    void end(const QString& why) {
        if (ended.exchange(true))
            return;
        log::info("Capture", QStringLiteral("PipeWire stream ended: ") + why);
        if (options.onEnded)
            options.onEnded(why);
    }

    void onParamChanged(std::uint32_t id, const spa_pod* param) {
        if (id != SPA_PARAM_Format || !param)
            return;
        spa_video_info_raw info{};
        if (spa_format_video_raw_parse(param, &info) < 0)
            return;
        order = pixelOrder(info.format);
        width = int(info.size.width);
        height = int(info.size.height);
        if (!order) {
            end(QStringLiteral("the source offers no 32-bit RGB picture"));
            return;
        }
        std::uint8_t storage[1024];
        spa_pod_builder builder = SPA_POD_BUILDER_INIT(storage, sizeof storage);
        const spa_pod* params[3];
        params[0] = static_cast<const spa_pod*>(spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
            SPA_POD_CHOICE_RANGE_Int(8, 2, 16), SPA_PARAM_BUFFERS_dataType,
            SPA_POD_CHOICE_FLAGS_Int((1 << SPA_DATA_MemPtr) | (1 << SPA_DATA_MemFd))));
        params[1] = static_cast<const spa_pod*>(spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
            SPA_POD_Id(SPA_META_Header), SPA_PARAM_META_size, SPA_POD_Int(int(sizeof(spa_meta_header)))));
        params[2] = static_cast<const spa_pod*>(spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
            SPA_POD_Id(SPA_META_Cursor), SPA_PARAM_META_size,
            SPA_POD_CHOICE_RANGE_Int(cursorMetaSize(64), cursorMetaSize(1), cursorMetaSize(256))));
        pw_stream_update_params(stream.get(), params, 3);
    }

    void onProcess() {
        pw_buffer* buffer = pw_stream_dequeue_buffer(stream.get());
        if (!buffer)
            return;
        spa_buffer* spa = buffer->buffer;
        const auto* header = static_cast<const spa_meta_header*>(
            spa_buffer_find_meta_data(spa, SPA_META_Header, sizeof(spa_meta_header)));
        if (const auto* cursor = static_cast<const spa_meta_cursor*>(
                spa_buffer_find_meta_data(spa, SPA_META_Cursor, sizeof(spa_meta_cursor)));
            cursor && spa_meta_cursor_is_valid(cursor))
            lastCursor =
                Cursor{cursor->position.x, cursor->position.y, cursor->hotspot.x, cursor->hotspot.y, true};
        const spa_data& data = spa->datas[0];
        const bool corrupted = header && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED);
        // A buffer with no picture carries only a cursor move; it reaches the caller with the next frame.
        if (!corrupted && order && data.data && data.chunk && data.chunk->size > 0 && width > 0 &&
            height > 0) {
            Frame frame;
            frame.pixels = static_cast<const std::uint8_t*>(data.data) + data.chunk->offset;
            frame.width = width;
            frame.height = height;
            frame.stride = data.chunk->stride > 0 ? data.chunk->stride : width * 4;
            frame.order = *order;
            frame.arrivalNs = monotonicNs();
            frame.sequence = header ? header->seq : frames;
            frame.cursor = lastCursor;
            ++frames;
            if (options.onFrame)
                options.onFrame(frame);
        }
        pw_stream_queue_buffer(stream.get(), buffer);
    }

    void onStateChanged(pw_stream_state state, const char* error) {
        switch (state) {
        case PW_STREAM_STATE_STREAMING:
            streamed = true;
            break;
        case PW_STREAM_STATE_ERROR:
            end(QString::fromUtf8(error ? error : "the stream failed"));
            break;
        case PW_STREAM_STATE_UNCONNECTED:
            if (!stopped)
                end(QStringLiteral("the source went away"));
            break;
        default:
            break;
        }
    }

    // A source that leaves does not end the stream by itself (it only pauses, waiting for another link):
    // its node's removal from the registry is what says the recording's picture is gone.
    void onGlobalRemoved(std::uint32_t id) {
        if (id == options.nodeId && !stopped)
            end(QStringLiteral("the source went away"));
    }

    void onCoreError(std::uint32_t id, int res, const char* message) {
        if (id == PW_ID_CORE && res == -EPIPE)
            end(QStringLiteral("PipeWire went away"));
        else if (id == PW_ID_CORE)
            log::warning("Capture",
                         QStringLiteral("PipeWire: %1").arg(QString::fromUtf8(message ? message : "")));
    }
};

PipeWireStream::PipeWireStream(std::unique_ptr<Impl> impl)
    : m_impl(std::move(impl)) {}

PipeWireStream::~PipeWireStream() {
    stop();
}

tl::expected<std::unique_ptr<PipeWireStream>, QString> PipeWireStream::open(Options options) {
    static std::once_flag initialised;
    std::call_once(initialised, [] { pw_init(nullptr, nullptr); });

    auto impl = std::make_unique<Impl>();
    impl->options = std::move(options);
    impl->loop.reset(pw_thread_loop_new("orvane-pipewire", nullptr));
    if (!impl->loop)
        return tl::make_unexpected(QStringLiteral("could not make PipeWire's thread"));
    impl->context.reset(pw_context_new(pw_thread_loop_get_loop(impl->loop.get()), nullptr, 0));
    if (!impl->context)
        return tl::make_unexpected(QStringLiteral("could not make a PipeWire context"));
    if (pw_thread_loop_start(impl->loop.get()) < 0)
        return tl::make_unexpected(QStringLiteral("could not start PipeWire's thread"));

    Impl* self = impl.get();
    pw_thread_loop_lock(impl->loop.get());
    auto unlockAndFail = [&](const QString& why) {
        pw_thread_loop_unlock(self->loop.get());
        pw_thread_loop_stop(self->loop.get());
        self->stream.reset();
        self->registry.reset();
        self->core.reset();
        return tl::make_unexpected(why);
    };
    if (impl->options.remoteFd >= 0) {
        // The stream owns a copy; the caller keeps its descriptor.
        const int fd = fcntl(impl->options.remoteFd, F_DUPFD_CLOEXEC, 3);
        if (fd < 0)
            return unlockAndFail(QStringLiteral("could not copy the PipeWire remote"));
        impl->core.reset(pw_context_connect_fd(impl->context.get(), fd, nullptr, 0));
    } else {
        impl->core.reset(pw_context_connect(impl->context.get(), nullptr, 0));
    }
    if (!impl->core)
        return unlockAndFail(QStringLiteral("could not connect to PipeWire"));

    impl->coreEvents.version = PW_VERSION_CORE_EVENTS;
    impl->coreEvents.error = [](void* data, std::uint32_t id, int, int res, const char* message) {
        static_cast<Impl*>(data)->onCoreError(id, res, message);
    };
    pw_core_add_listener(impl->core.get(), &impl->coreListener, &impl->coreEvents, self);
    impl->registry.reset(pw_core_get_registry(impl->core.get(), PW_VERSION_REGISTRY, 0));
    if (!impl->registry)
        return unlockAndFail(QStringLiteral("could not read PipeWire's registry"));
    impl->registryEvents.version = PW_VERSION_REGISTRY_EVENTS;
    impl->registryEvents.global_remove = [](void* data, std::uint32_t id) {
        static_cast<Impl*>(data)->onGlobalRemoved(id);
    };
    pw_registry_add_listener(impl->registry.get(), &impl->registryListener, &impl->registryEvents, self);

    impl->stream.reset(
        pw_stream_new(impl->core.get(), "orvane-screen-capture",
                      pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture",
                                        PW_KEY_MEDIA_ROLE, "Screen",
                                        // Another source is never a stand-in for the one chosen.
                                        PW_KEY_NODE_DONT_RECONNECT, "true", nullptr)));
    if (!impl->stream)
        return unlockAndFail(QStringLiteral("could not make a PipeWire stream"));
    impl->streamEvents.version = PW_VERSION_STREAM_EVENTS;
    impl->streamEvents.state_changed = [](void* data, pw_stream_state, pw_stream_state state,
                                          const char* error) {
        static_cast<Impl*>(data)->onStateChanged(state, error);
    };
    impl->streamEvents.param_changed = [](void* data, std::uint32_t id, const spa_pod* param) {
        static_cast<Impl*>(data)->onParamChanged(id, param);
    };
    impl->streamEvents.process = [](void* data) {
        static_cast<Impl*>(data)->onProcess();
    };
    pw_stream_add_listener(impl->stream.get(), &impl->streamListener, &impl->streamEvents, self);

    std::uint8_t storage[1024];
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(storage, sizeof storage);
    spa_rectangle defaultSize{1920, 1080};
    spa_rectangle minSize{1, 1};
    spa_rectangle maxSize{16384, 16384};
    spa_fraction defaultRate{60, 1};
    spa_fraction minRate{0, 1};
    spa_fraction maxRate{1000, 1};
    const spa_pod* format = static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, SPA_FORMAT_mediaType,
        SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw),
        SPA_FORMAT_VIDEO_format,
        SPA_POD_CHOICE_ENUM_Id(5, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_RGBx,
                               SPA_VIDEO_FORMAT_BGRA, SPA_VIDEO_FORMAT_RGBA),
        SPA_FORMAT_VIDEO_size, SPA_POD_CHOICE_RANGE_Rectangle(&defaultSize, &minSize, &maxSize),
        SPA_FORMAT_VIDEO_framerate, SPA_POD_CHOICE_RANGE_Fraction(&defaultRate, &minRate, &maxRate)));
    const int connected = pw_stream_connect(
        impl->stream.get(), PW_DIRECTION_INPUT, impl->options.nodeId,
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS), &format, 1);
    if (connected < 0)
        return unlockAndFail(
            QStringLiteral("could not connect to PipeWire node %1").arg(impl->options.nodeId));
    pw_thread_loop_unlock(impl->loop.get());
    return std::make_unique<PipeWireStream>(std::move(impl));
}

void PipeWireStream::stop() {
    if (!m_impl || !m_impl->loop)
        return;
    pw_thread_loop_lock(m_impl->loop.get());
    m_impl->stopped = true;
    if (m_impl->stream)
        pw_stream_disconnect(m_impl->stream.get());
    pw_thread_loop_unlock(m_impl->loop.get());
    pw_thread_loop_stop(m_impl->loop.get());
    // With the thread gone, in the order they were made, backwards.
    m_impl->stream.reset();
    m_impl->registry.reset();
    m_impl->core.reset();
    m_impl->context.reset();
    m_impl->loop.reset();
}

std::pair<int, int> PipeWireStream::size() const {
    if (!m_impl || !m_impl->loop)
        return {0, 0};
    pw_thread_loop_lock(m_impl->loop.get());
    const std::pair<int, int> size{m_impl->width, m_impl->height};
    pw_thread_loop_unlock(m_impl->loop.get());
    return size;
}

} // namespace orvane
