// Feeds arbitrary bytes to the readers of a recording's telemetry: the cursor file, the events file and
// the journal a killed recording leaves behind. Nothing may crash, hang or leak. Whatever a reader
// accepts must survive the way the program writes it back: a track through its file again, and a
// journal through the journal's own writer and, as recovery does, through the cursor and events files.
// A journal's last line without its newline is a torn write and must change nothing.
#include "capture/TelemetryFiles.h"
#include "capture/TelemetryJournal.h"
#include "project/Json.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>

using namespace orvane;

namespace {

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "telemetry-files fuzzer: %s\n", what);
    std::abort();
}

// One folder for the whole run; the journal reader and writer only work on files.
const QTemporaryDir& workDir() {
    static const QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/orvane-fuzz-telemetry-XXXXXX"));
    if (!dir.isValid())
        fail("no temporary folder");
    return dir;
}

std::optional<TelemetryJournalContents> readJournalBytes(const QByteArray& bytes) {
    const QString path = workDir().filePath(QStringLiteral("input.jsonl"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        fail("cannot write the input journal");
    file.close();
    auto contents = TelemetryJournal::read(path);
    if (!contents)
        return std::nullopt;
    return std::move(*contents);
}

// What the editor would save of a track, read back as the editor would read it.
template <class Track>
Track throughFile(const Track& track, tl::expected<Track, QString> (*decode)(const QByteArray&)) {
    QByteArray bytes;
    try {
        bytes = writeJsonDocument(toJson(track));
    } catch (const JsonError&) {
        fail("a track that was read cannot be written");
    }
    auto again = decode(bytes);
    if (!again)
        fail("a written track does not read back");
    return std::move(*again);
}

void checkCursorFile(const QByteArray& bytes) {
    const auto track = TelemetryFiles::decodeCursorTrack(bytes);
    if (track && !(throughFile(*track, &TelemetryFiles::decodeCursorTrack) == *track))
        fail("a cursor track changed through its file");
}

void checkEventsFile(const QByteArray& bytes) {
    const auto track = TelemetryFiles::decodeEventTrack(bytes);
    if (track && !(throughFile(*track, &TelemetryFiles::decodeEventTrack) == *track))
        fail("an event track changed through its file");
}

void checkJournal(const QByteArray& bytes) {
    const auto contents = readJournalBytes(bytes);
    if (!contents)
        return;

    if (const qsizetype lastLine = bytes.lastIndexOf('\n') + 1; lastLine < bytes.size()) {
        const auto whole = readJournalBytes(bytes.left(lastLine));
        if (!whole || !(*whole == *contents))
            fail("a torn last line changed what the journal holds");
    }

    // Recovery makes the clip's cursor and events files out of a journal.
    if (!(throughFile(contents->cursor, &TelemetryFiles::decodeCursorTrack) == contents->cursor) ||
        !(throughFile(contents->events, &TelemetryFiles::decodeEventTrack) == contents->events))
        fail("a journal's telemetry changed on its way into the cursor and events files");

    const QString path = workDir().filePath(QStringLiteral("rewritten.jsonl"));
    {
        auto journal = TelemetryJournal::create(path, contents->sourceSize);
        if (!journal)
            fail("cannot create a journal");
        for (const CursorSample& sample : contents->cursor.samples)
            (*journal)->append(sample);
        for (const InputEvent& event : contents->events.events)
            (*journal)->append(event);
        for (const ManualZoomEvent& mark : contents->manualZoomEvents)
            (*journal)->append(mark);
        if (!(*journal)->flush())
            fail("cannot write a journal");
    }
    const auto rewritten = TelemetryJournal::read(path);
    if (!rewritten || !(*rewritten == *contents))
        fail("a journal written from what another one held reads back different");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // What the readers and the journal's writer log would drown the fuzzer's own output.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    (void)workDir();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    checkCursorFile(bytes);
    checkEventsFile(bytes);
    checkJournal(bytes);
    return 0;
}
