#include "TelemetryJournal.h"

#include "project/Json.h"

#include <unistd.h>

#include <charconv>
#include <cmath>

namespace orvane {

namespace {

constexpr std::string_view header = R"({"format":"orvane-telemetry-journal","version":1})";

// Shortest text that reads back as the same double; JSON has no NaN or infinity, so those become 0.
void appendNumber(std::string& out, double value) {
    if (!std::isfinite(value))
        value = 0;
    char text[32];
    const auto end = std::to_chars(text, text + sizeof(text), value).ptr;
    out.append(text, std::size_t(end - text));
}

void appendLine(std::string& out, const char* key, const JsonValue& value) {
    out += "{\"";
    out += key;
    out += "\":";
    const QByteArray json = writeCompactJson(value);
    out.append(json.constData(), std::size_t(json.size()));
    out += "}\n";
}

template <class T>
T decode(const JsonValue& value) {
    const JsonPath path;
    return decodeJson<T>(JsonIn(value, path));
}

} // namespace

TelemetryJournal::TelemetryJournal(QString path)
    : m_path(std::move(path))
    , m_file(m_path) {
    // A second of pointer motion at 120 samples a second fits without growing.
    m_buffer.reserve(16384);
}

TelemetryJournal::~TelemetryJournal() {
    (void)flush();
}

tl::expected<std::unique_ptr<TelemetryJournal>, QString> TelemetryJournal::create(const QString& path) {
    std::unique_ptr<TelemetryJournal> journal(new TelemetryJournal(path));
    if (!journal->m_file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
        return tl::unexpected(path + QStringLiteral(": ") + journal->m_file.errorString());
    journal->m_buffer.append(header);
    journal->m_buffer += '\n';
    if (auto flushed = journal->flush(); !flushed)
        return tl::unexpected(flushed.error());
    return journal;
}

void TelemetryJournal::append(const CursorSample& sample) {
    // The cursor file's own form, keys sorted, written by hand: this runs for every pointer movement.
    m_buffer += R"({"cursor":{"pressure":)";
    appendNumber(m_buffer, sample.pressure);
    m_buffer += R"(,"time":{"seconds":)";
    appendNumber(m_buffer, sample.time.seconds);
    m_buffer += R"(},"x":)";
    appendNumber(m_buffer, sample.x);
    m_buffer += R"(,"y":)";
    appendNumber(m_buffer, sample.y);
    m_buffer += "}}\n";
}

void TelemetryJournal::append(const InputEvent& event) {
    appendLine(m_buffer, "event", toJson(event));
}

void TelemetryJournal::append(const ManualZoomEvent& mark) {
    m_buffer += R"({"zoomMark":{"time":{"seconds":)";
    appendNumber(m_buffer, mark.time.seconds);
    m_buffer += R"(},"x":)";
    appendNumber(m_buffer, mark.cursorX);
    m_buffer += R"(,"y":)";
    appendNumber(m_buffer, mark.cursorY);
    m_buffer += "}}\n";
}

tl::expected<void, QString> TelemetryJournal::flush(bool durable) {
    if (!m_file.isOpen())
        return tl::unexpected(m_path + QStringLiteral(": not open"));
    if (!m_buffer.empty()) {
        const qint64 size = qint64(m_buffer.size());
        if (m_file.write(m_buffer.data(), size) != size)
            return tl::unexpected(m_path + QStringLiteral(": ") + m_file.errorString());
        m_buffer.clear(); // keeps its capacity
    }
    if (durable && ::fdatasync(m_file.handle()) != 0)
        return tl::unexpected(m_path + QStringLiteral(": the disk did not confirm the write"));
    return {};
}

tl::expected<TelemetryJournalContents, QString> TelemetryJournal::read(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return tl::unexpected(path + QStringLiteral(": ") + file.errorString());
    const QByteArray bytes = file.readAll();
    const std::string_view text(bytes.constData(), std::size_t(bytes.size()));

    std::size_t lineEnd = text.find('\n');
    if (lineEnd == std::string_view::npos || text.substr(0, lineEnd) != header)
        return tl::unexpected(path + QStringLiteral(": not a telemetry journal"));

    TelemetryJournalContents contents;
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
            if (const JsonValue* cursor = object.find("cursor"))
                contents.cursor.samples.push_back(decode<CursorSample>(*cursor));
            else if (const JsonValue* event = object.find("event"))
                contents.events.events.push_back(decode<InputEvent>(*event));
            else if (const JsonValue* mark = object.find("zoomMark")) {
                const JsonObject& m = mark->toObject();
                const JsonValue* x = m.find("x");
                const JsonValue* y = m.find("y");
                const JsonValue* time = m.find("time");
                if (!x || !y || !time)
                    break;
                contents.manualZoomEvents.push_back(
                    {decode<ProjectTime>(*time), decode<double>(*x), decode<double>(*y)});
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
