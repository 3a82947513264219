#include "PipeWireTestSupport.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QStandardPaths>
#include <QThread>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <mutex>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>
#pragma GCC diagnostic pop

namespace orvane::test {

std::unique_ptr<PipeWireSession> PipeWireSession::start(QString* why) {
    for (const char* tool : {"pipewire", "wireplumber", "pw-cli"}) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty()) {
            *why = QStringLiteral("%1 is not installed").arg(QString::fromLatin1(tool));
            return nullptr;
        }
    }
    auto session = std::make_unique<PipeWireSession>();
    if (session->m_bus.address.isEmpty() || !session->m_runtime.isValid()) {
        *why = QStringLiteral("no private bus or runtime folder");
        return nullptr;
    }
    QFile::setPermissions(session->m_runtime.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), session->m_runtime.path());
    env.insert(QStringLiteral("PIPEWIRE_RUNTIME_DIR"), session->m_runtime.path());
    env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), session->m_bus.address);
    for (QProcess* p : {&session->m_pipewire, &session->m_wireplumber}) {
        p->setProcessEnvironment(env);
        p->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        p->setStandardOutputFile(QProcess::nullDevice());
    }
    session->m_pipewire.start(QStringLiteral("pipewire"), {});
    const QString socket = session->m_runtime.filePath(QStringLiteral("pipewire-0"));
    QDeadlineTimer deadline(5000);
    while (!QFile::exists(socket) && !deadline.hasExpired())
        QThread::msleep(20);
    if (!QFile::exists(socket)) {
        *why = QStringLiteral("pipewire did not start");
        return nullptr;
    }
    session->m_wireplumber.setProcessChannelMode(QProcess::MergedChannels);
    session->m_wireplumber.start(QStringLiteral("wireplumber"), {});
    // Ready once its client is on the daemon: it links what asks to be linked from then on.
    deadline = QDeadlineTimer(10000);
    while (!deadline.hasExpired()) {
        QProcess list;
        list.setProcessEnvironment(env);
        list.start(QStringLiteral("pw-cli"), {QStringLiteral("ls"), QStringLiteral("Client")});
        list.waitForFinished(3000);
        if (list.readAllStandardOutput().contains("WirePlumber [export]"))
            return session;
        QThread::msleep(100);
    }
    *why = QStringLiteral("wireplumber did not come up");
    return nullptr;
}

PipeWireSession::~PipeWireSession() {
    kill();
}

void PipeWireSession::kill() {
    for (QProcess* p : {&m_wireplumber, &m_pipewire}) {
        if (p->state() == QProcess::NotRunning)
            continue;
        p->terminate();
        if (!p->waitForFinished(3000)) {
            p->kill();
            p->waitForFinished(3000);
        }
    }
}

int PipeWireSession::connect() const {
    const QByteArray path = m_runtime.filePath(QStringLiteral("pipewire-0")).toLocal8Bit();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (std::size_t(path.size()) >= sizeof address.sun_path)
        return -1;
    std::memcpy(address.sun_path, path.constData(), std::size_t(path.size()));
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return -1;
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

struct TestVideoSource::Impl {
    TestVideoSource* owner = nullptr;
    int width = 0;
    int height = 0;
    int fps = 30;
    bool rgbOrder = false;
    pw_thread_loop* loop = nullptr;
    pw_context* context = nullptr;
    pw_core* core = nullptr;
    pw_stream* stream = nullptr;
    spa_source* timer = nullptr;
    spa_hook listener{};
    pw_stream_events events{};
    std::uint64_t sequence = 0;

    void onParamChanged(std::uint32_t id, const spa_pod* param) {
        if (id != SPA_PARAM_Format || !param)
            return;
        const int stride = width * 4;
        std::uint8_t storage[512];
        spa_pod_builder b = SPA_POD_BUILDER_INIT(storage, sizeof storage);
        const spa_pod* params[3];
        params[0] = static_cast<const spa_pod*>(spa_pod_builder_add_object(
            &b, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
            SPA_POD_CHOICE_RANGE_Int(4, 2, 8), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1),
            SPA_PARAM_BUFFERS_size, SPA_POD_Int(stride * height), SPA_PARAM_BUFFERS_stride,
            SPA_POD_Int(stride), SPA_PARAM_BUFFERS_dataType,
            SPA_POD_CHOICE_FLAGS_Int((1 << SPA_DATA_MemFd) | (1 << SPA_DATA_MemPtr))));
        params[1] = static_cast<const spa_pod*>(spa_pod_builder_add_object(
            &b, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type, SPA_POD_Id(SPA_META_Header),
            SPA_PARAM_META_size, SPA_POD_Int(int(sizeof(spa_meta_header)))));
        params[2] = static_cast<const spa_pod*>(spa_pod_builder_add_object(
            &b, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type, SPA_POD_Id(SPA_META_Cursor),
            SPA_PARAM_META_size,
            SPA_POD_Int(int(sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap) + 16 * 16 * 4))));
        pw_stream_update_params(stream, params, 3);
    }

    void onProcess() {
        pw_buffer* buffer = pw_stream_dequeue_buffer(stream);
        if (!buffer)
            return;
        spa_buffer* spa = buffer->buffer;
        spa_data& data = spa->datas[0];
        if (data.data) {
            const int stride = width * 4;
            auto* bytes = static_cast<std::uint8_t*>(data.data);
            for (int i = 0; i < width * height; ++i) {
                bytes[i * 4 + 0] = std::uint8_t(sequence & 0xFF);
                bytes[i * 4 + 1] = 0x5A;
                bytes[i * 4 + 2] = 0;
                bytes[i * 4 + 3] = 0xFF;
            }
            data.chunk->offset = 0;
            data.chunk->stride = stride;
            data.chunk->size = std::uint32_t(stride * height);
        }
        if (auto* header = static_cast<spa_meta_header*>(
                spa_buffer_find_meta_data(spa, SPA_META_Header, sizeof(spa_meta_header)))) {
            header->flags = 0;
            header->seq = sequence;
            header->pts = -1;
        }
        if (auto* cursor = static_cast<spa_meta_cursor*>(
                spa_buffer_find_meta_data(spa, SPA_META_Cursor, sizeof(spa_meta_cursor)))) {
            cursor->id = 1;
            cursor->flags = 0;
            cursor->position.x = int(sequence);
            cursor->position.y = int(2 * sequence);
            cursor->hotspot.x = 1;
            cursor->hotspot.y = 2;
            cursor->bitmap_offset = 0;
        }
        ++sequence;
        owner->m_sent.fetch_add(1);
        pw_stream_queue_buffer(stream, buffer);
    }
};

std::unique_ptr<TestVideoSource> TestVideoSource::start(int remoteFd, int width, int height, int fps,
                                                        QString* why, bool rgbOrder) {
    static std::once_flag initialised;
    std::call_once(initialised, [] { pw_init(nullptr, nullptr); });
    auto source = std::make_unique<TestVideoSource>();
    source->m_impl = std::make_unique<Impl>();
    Impl& impl = *source->m_impl;
    impl.owner = source.get();
    impl.width = width;
    impl.height = height;
    impl.fps = fps;
    impl.rgbOrder = rgbOrder;
    impl.loop = pw_thread_loop_new("test-video-source", nullptr);
    impl.context = pw_context_new(pw_thread_loop_get_loop(impl.loop), nullptr, 0);
    pw_thread_loop_start(impl.loop);
    pw_thread_loop_lock(impl.loop);
    impl.core = pw_context_connect_fd(impl.context, remoteFd, nullptr, 0);
    if (!impl.core) {
        pw_thread_loop_unlock(impl.loop);
        *why = QStringLiteral("the source could not connect");
        return nullptr;
    }
    impl.stream = pw_stream_new(impl.core, "orvane-test-source",
                                pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_MEDIA_TYPE,
                                                  "Video", PW_KEY_MEDIA_CATEGORY, "Source", nullptr));
    impl.events.version = PW_VERSION_STREAM_EVENTS;
    impl.events.param_changed = [](void* data, std::uint32_t id, const spa_pod* param) {
        static_cast<Impl*>(data)->onParamChanged(id, param);
    };
    impl.events.process = [](void* data) {
        static_cast<Impl*>(data)->onProcess();
    };
    pw_stream_add_listener(impl.stream, &impl.listener, &impl.events, &impl);

    std::uint8_t storage[512];
    spa_pod_builder b = SPA_POD_BUILDER_INIT(storage, sizeof storage);
    spa_rectangle size{std::uint32_t(width), std::uint32_t(height)};
    spa_fraction rate{std::uint32_t(fps), 1};
    const spa_pod* format = static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &b, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, SPA_FORMAT_mediaType,
        SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw),
        SPA_FORMAT_VIDEO_format, SPA_POD_Id(rgbOrder ? SPA_VIDEO_FORMAT_RGBx : SPA_VIDEO_FORMAT_BGRx),
        SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size), SPA_FORMAT_VIDEO_framerate,
        SPA_POD_Fraction(&rate)));
    pw_stream_connect(impl.stream, PW_DIRECTION_OUTPUT, PW_ID_ANY,
                      static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS),
                      &format, 1);
    // A driver paces its own graph: a timer asks for a frame at the rate.
    impl.timer = pw_loop_add_timer(
        pw_thread_loop_get_loop(impl.loop),
        [](void* data, std::uint64_t) {
            auto* self = static_cast<Impl*>(data);
            pw_stream_trigger_process(self->stream);
        },
        &impl);
    timespec interval{0, long(1'000'000'000 / fps)};
    pw_loop_update_timer(pw_thread_loop_get_loop(impl.loop), impl.timer, &interval, &interval, false);
    pw_thread_loop_unlock(impl.loop);
    return source;
}

std::uint32_t TestVideoSource::nodeId() const {
    if (!m_impl || !m_impl->stream)
        return 0;
    pw_thread_loop_lock(m_impl->loop);
    const std::uint32_t id = pw_stream_get_node_id(m_impl->stream);
    pw_thread_loop_unlock(m_impl->loop);
    return id == SPA_ID_INVALID ? 0 : id;
}

void TestVideoSource::stop() {
    if (!m_impl || !m_impl->loop)
        return;
    pw_thread_loop_lock(m_impl->loop);
    if (m_impl->timer)
        pw_loop_destroy_source(pw_thread_loop_get_loop(m_impl->loop), m_impl->timer);
    m_impl->timer = nullptr;
    if (m_impl->stream)
        pw_stream_destroy(m_impl->stream);
    m_impl->stream = nullptr;
    if (m_impl->core)
        pw_core_disconnect(m_impl->core);
    m_impl->core = nullptr;
    pw_thread_loop_unlock(m_impl->loop);
    pw_thread_loop_stop(m_impl->loop);
    pw_context_destroy(m_impl->context);
    pw_thread_loop_destroy(m_impl->loop);
    m_impl->loop = nullptr;
}

TestVideoSource::~TestVideoSource() {
    stop();
}

} // namespace orvane::test
