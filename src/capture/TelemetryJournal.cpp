#include "TelemetryJournal.h"

#include "project/Json.h"

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstring>
#include <type_traits>

namespace orvane {

namespace {

constexpr std::string_view formatName = "orvane-telemetry-journal";
constexpr int formatVersion = 1;
// How long written lines may wait for the disk: what a power cut can take.
constexpr std::chrono::seconds syncInterval{1};
// A second of 1,000 Hz pointer motion is about 80 KiB of lines; the buffers grow to what a commit needs
// once and keep it.
constexpr std::size_t initialCapacity = 64 * 1024;

QString systemError(const QString& path, int error) {
    return path + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(error));
}

// Shortest text that reads back as the same double; JSON has no NaN or infinity, so those become 0.
void appendNumber(std::string& out, double value) {
    if (!std::isfinite(value))
        value = 0;
    char text[32];
    const auto end = std::to_chars(text, text + sizeof(text), value).ptr;
    out.append(text, std::size_t(end - text));
}

void appendNumber(std::string& out, int value) {
    char text[16];
    const auto end = std::to_chars(text, text + sizeof(text), value).ptr;
    out.append(text, std::size_t(end - text));
}

void appendTime(std::string& out, ProjectTime time) {
    out += R"("time":{"seconds":)";
    appendNumber(out, time.seconds);
    out += '}';
}

void appendCodePoint(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += char(c);
    } else if (c < 0x800) {
        out += char(0xC0 | (c >> 6));
        out += char(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += char(0xE0 | (c >> 12));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    } else {
        out += char(0xF0 | (c >> 18));
        out += char(0x80 | ((c >> 12) & 0x3F));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    }
}

// A JSON string in UTF-8 straight from UTF-16, so that a keystroke costs no temporary. A lone surrogate
// becomes U+FFFD, as any UTF-8 conversion would make it.
void appendString(std::string& out, const QString& text) {
    static constexpr char hex[] = "0123456789abcdef";
    out += '"';
    const QChar* p = text.constData();
    const QChar* const end = p + text.size();
    for (; p < end; ++p) {
        const char16_t unit = p->unicode();
        if (QChar::isHighSurrogate(unit) && p + 1 < end && QChar::isLowSurrogate(p[1].unicode())) {
            appendCodePoint(out, QChar::surrogateToUcs4(unit, p[1].unicode()));
            ++p;
        } else if (QChar::isSurrogate(unit)) {
            appendCodePoint(out, 0xFFFD);
        } else if (unit == '"' || unit == '\\') {
            out += '\\';
            out += char(unit);
        } else if (unit < 0x20) {
            const char escape[] = {'\\', 'u', '0', '0', hex[unit >> 4], hex[unit & 15]};
            out.append(escape, sizeof escape);
        } else {
            appendCodePoint(out, unit);
        }
    }
    out += '"';
}

// The pointer's place as the cursor and event files give it: `"x":…,"y":…`.
void appendPlace(std::string& out, double x, double y) {
    out += R"("x":)";
    appendNumber(out, x);
    out += R"(,"y":)";
    appendNumber(out, y);
}

// One event in the event file's own form, keys sorted as that file sorts them.
void appendEvent(std::string& out, const InputEvent& event) {
    using E = InputEvent;
    std::visit(
        [&out](const auto& e) {
            using T = std::decay_t<decltype(e)>;
            if constexpr (std::is_same_v<T, E::KeyDown>) {
                out += R"({"keyDown":{"characters":)";
                appendString(out, e.characters);
                out += R"(,"keyCode":)";
                appendNumber(out, e.keyCode);
                out += R"(,"modifiers":)";
                appendNumber(out, e.modifiers);
                out += ',';
                appendTime(out, e.time);
            } else if constexpr (std::is_same_v<T, E::KeyUp>) {
                out += R"({"keyUp":{"keyCode":)";
                appendNumber(out, e.keyCode);
                out += ',';
                appendTime(out, e.time);
            } else {
                if constexpr (std::is_same_v<T, E::LeftMouseDown>)
                    out += R"({"leftMouseDown":{)";
                else if constexpr (std::is_same_v<T, E::LeftMouseUp>)
                    out += R"({"leftMouseUp":{)";
                else if constexpr (std::is_same_v<T, E::RightMouseDown>)
                    out += R"({"rightMouseDown":{)";
                else if constexpr (std::is_same_v<T, E::RightMouseUp>)
                    out += R"({"rightMouseUp":{)";
                if constexpr (std::is_same_v<T, E::OtherMouseDown>) {
                    out += R"({"otherMouseDown":{"buttonNumber":)";
                    appendNumber(out, e.buttonNumber);
                    out += ',';
                } else if constexpr (std::is_same_v<T, E::Scroll>) {
                    out += R"({"scroll":{"dx":)";
                    appendNumber(out, e.dx);
                    out += R"(,"dy":)";
                    appendNumber(out, e.dy);
                    out += ',';
                }
                appendTime(out, e.time);
                out += ',';
                appendPlace(out, e.x, e.y);
            }
            out += "}}";
        },
        event.value);
}

std::string headerLine(std::optional<Size> sourceSize) {
    std::string line = R"({"format":")";
    line += formatName;
    line += '"';
    if (sourceSize) {
        line += R"(,"sourceSize":{"height":)";
        appendNumber(line, sourceSize->height);
        line += R"(,"width":)";
        appendNumber(line, sourceSize->width);
        line += '}';
    }
    line += R"(,"version":)";
    appendNumber(line, formatVersion);
    line += "}\n";
    return line;
}

std::optional<QString> writeAll(int fd, const QString& path, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return systemError(path, errno);
        }
        bytes.remove_prefix(std::size_t(written));
    }
    return std::nullopt;
}

template <class T>
T decode(const JsonValue& value) {
    const JsonPath path;
    return decodeJson<T>(JsonIn(value, path));
}

// The header's facts, or nothing when the line is not a journal's header this reader understands.
std::optional<std::optional<Size>> readHeader(std::string_view line) {
    auto parsed = parseJson(line);
    const JsonValue* header = std::get_if<JsonValue>(&parsed);
    if (!header || !header->isObject())
        return std::nullopt;
    const JsonObject& object = header->toObject();
    const JsonValue* format = object.find("format");
    const JsonValue* version = object.find("version");
    if (!format || !format->isString() || format->stringView() != formatName || !version ||
        !version->isDouble() || version->toDouble() != formatVersion)
        return std::nullopt;
    std::optional<Size> sourceSize;
    if (const JsonValue* size = object.find("sourceSize"); size && size->isObject()) {
        const JsonValue* width = size->toObject().find("width");
        const JsonValue* height = size->toObject().find("height");
        if (width && height && width->isDouble() && height->isDouble())
            sourceSize = Size{width->toDouble(), height->toDouble()};
    }
    return sourceSize;
}

} // namespace

TelemetryJournal::Descriptor::~Descriptor() {
    if (fd >= 0)
        ::close(fd);
}

TelemetryJournal::TelemetryJournal(QString path, std::unique_ptr<Descriptor> file)
    : m_path(std::move(path))
    , m_file(std::move(file)) {
    m_buffer.reserve(initialCapacity);
    m_handedOver.reserve(initialCapacity);
    m_writer = std::thread([this] { writerLoop(); });
}

TelemetryJournal::~TelemetryJournal() {
    {
        std::lock_guard lock(m_lock);
        m_handedOver += m_buffer;
        ++m_requested;
        m_closing = true;
    }
    m_wake.notify_one();
    m_writer.join();
}

tl::expected<std::unique_ptr<TelemetryJournal>, QString>
TelemetryJournal::create(const QString& path, std::optional<Size> sourceSize) {
    auto file = std::make_unique<Descriptor>(
        ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (file->fd < 0)
        return tl::unexpected(systemError(path, errno));
    if (auto failed = writeAll(file->fd, path, headerLine(sourceSize)))
        return tl::unexpected(*failed);
    return std::unique_ptr<TelemetryJournal>(new TelemetryJournal(path, std::move(file)));
}

void TelemetryJournal::append(const CursorSample& sample) {
    // The cursor file's own form, keys sorted: this runs for every pointer movement.
    m_buffer += R"({"cursor":{"pressure":)";
    appendNumber(m_buffer, sample.pressure);
    m_buffer += ',';
    appendTime(m_buffer, sample.time);
    m_buffer += ',';
    appendPlace(m_buffer, sample.x, sample.y);
    m_buffer += "}}\n";
}

void TelemetryJournal::append(const InputEvent& event) {
    m_buffer += R"({"event":)";
    appendEvent(m_buffer, event);
    m_buffer += "}\n";
}

void TelemetryJournal::append(const ManualZoomEvent& mark) {
    m_buffer += R"({"zoomMark":{)";
    appendTime(m_buffer, mark.time);
    m_buffer += ',';
    appendPlace(m_buffer, mark.cursorX, mark.cursorY);
    m_buffer += "}}\n";
}

std::uint64_t TelemetryJournal::handOver(bool durable) {
    std::uint64_t request;
    {
        std::lock_guard lock(m_lock);
        // The writer leaves m_handedOver empty but with its capacity: swapping keeps three buffers going
        // round without allocating. It is not empty only when the writer is still on the commit before.
        if (m_handedOver.empty())
            m_handedOver.swap(m_buffer);
        else
            m_handedOver += m_buffer;
        m_buffer.clear();
        request = ++m_requested;
        if (durable)
            m_syncWanted = request;
    }
    m_wake.notify_one();
    return request;
}

void TelemetryJournal::commit() {
    (void)handOver(false);
}

tl::expected<void, QString> TelemetryJournal::flush(bool durable) {
    const std::uint64_t request = handOver(durable);
    std::unique_lock lock(m_lock);
    m_progress.wait(lock, [&] { return m_done >= request && (!durable || m_syncedUpTo >= request); });
    if (m_error)
        return tl::unexpected(*m_error);
    return {};
}

std::optional<QString> TelemetryJournal::error() const {
    std::lock_guard lock(m_lock);
    return m_error;
}

void TelemetryJournal::writerLoop() {
    std::string writing;
    writing.reserve(initialCapacity);
    auto lastSync = std::chrono::steady_clock::now();
    bool unsynced = false;
    std::unique_lock lock(m_lock);
    while (true) {
        // Wakes for a commit, or after a quiet second to sync what an earlier commit wrote.
        m_wake.wait_for(lock, syncInterval, [&] { return m_closing || m_done != m_requested; });
        const std::uint64_t request = m_requested;
        const bool mustSync = m_syncWanted > m_syncedUpTo;
        const bool closing = m_closing;
        writing.swap(m_handedOver);
        lock.unlock();

        std::optional<QString> error;
        if (!writing.empty()) {
            error = writeAll(m_file->fd, m_path, writing);
            writing.clear();
            unsynced = true;
        }
        const auto now = std::chrono::steady_clock::now();
        if (unsynced && (mustSync || now - lastSync >= syncInterval)) {
            if (::fdatasync(m_file->fd) != 0 && !error)
                error = systemError(m_path, errno);
            lastSync = now;
            unsynced = false;
        }

        lock.lock();
        if (error && !m_error)
            m_error = std::move(error);
        m_done = request;
        if (!unsynced)
            m_syncedUpTo = request;
        m_progress.notify_all();
        if (closing)
            return;
    }
}

tl::expected<TelemetryJournalContents, QString> TelemetryJournal::read(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return tl::unexpected(path + QStringLiteral(": ") + file.errorString());
    const QByteArray bytes = file.readAll();
    const std::string_view text(bytes.constData(), std::size_t(bytes.size()));

    std::size_t lineEnd = text.find('\n');
    const auto header =
        lineEnd == std::string_view::npos ? std::nullopt : readHeader(text.substr(0, lineEnd));
    if (!header)
        return tl::unexpected(path + QStringLiteral(": not a telemetry journal"));

    TelemetryJournalContents contents;
    contents.sourceSize = *header;
    for (std::size_t start = lineEnd + 1; start < text.size(); start = lineEnd + 1) {
        lineEnd = text.find('\n', start);
        // Without its newline the last line may be cut short: it was being written when the process died.
        if (lineEnd == std::string_view::npos)
            break;
        auto parsed = parseJson(text.substr(start, lineEnd - start));
        const JsonValue* line = std::get_if<JsonValue>(&parsed);
        if (!line || !line->isObject() || line->toObject().size() != 1)
            break;
        const JsonObject& object = line->toObject();
        try {
            if (const JsonValue* cursor = object.find("cursor")) {
                contents.cursor.samples.push_back(decode<CursorSample>(*cursor));
            } else if (const JsonValue* event = object.find("event")) {
                contents.events.events.push_back(decode<InputEvent>(*event));
            } else if (const JsonValue* mark = object.find("zoomMark")) {
                const JsonPath markPath;
                const JsonObjectIn m{JsonIn(*mark, markPath)};
                contents.manualZoomEvents.push_back(
                    {m.required<ProjectTime>("time"), m.required<double>("x"), m.required<double>("y")});
            } else {
                break;
            }
        } catch (const JsonError&) {
            break;
        }
    }
    return contents;
}

} // namespace orvane
