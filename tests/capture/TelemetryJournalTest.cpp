// The journal a recording's telemetry goes to as it is collected: what survives a kill, and what a
// damaged file gives back.
#include "capture/TelemetryJournal.h"

#include "common/AllocationCounter.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

using namespace orvane;

namespace {

TelemetryJournalContents sampleContents() {
    TelemetryJournalContents c;
    c.sourceSize = Size{1280, 720};
    // Values that need every digit to come back equal, and a pointer outside the source.
    c.cursor.samples = {{ProjectTime(0.1), 10.5, 20.25, 0}, {ProjectTime(1.0 / 3), -4, 1e6 / 7, 0}};
    c.events.events = {InputEvent{InputEvent::LeftMouseDown{ProjectTime(0.5), 30, 40}},
                       InputEvent{InputEvent::OtherMouseDown{ProjectTime(0.6), 31, 41, 5}},
                       InputEvent{InputEvent::KeyDown{ProjectTime(0.7), 6, QStringLiteral("z\"\\\n"), 9}},
                       // Two and four bytes of UTF-8, and a control character that must be escaped.
                       InputEvent{InputEvent::KeyDown{ProjectTime(0.71), 14, QStringLiteral("é😀\x01"), 0}},
                       InputEvent{InputEvent::KeyUp{ProjectTime(0.72), 14}},
                       InputEvent{InputEvent::RightMouseDown{ProjectTime(0.73), 1, 2}},
                       InputEvent{InputEvent::RightMouseUp{ProjectTime(0.74), 1, 2}},
                       InputEvent{InputEvent::LeftMouseUp{ProjectTime(0.75), 3, 4}},
                       InputEvent{InputEvent::Scroll{ProjectTime(0.8), 1, 2, -0.5, 3.25}}};
    c.manualZoomEvents = {{ProjectTime(0.9), 100, 200}};
    return c;
}

void write(TelemetryJournal& journal, const TelemetryJournalContents& c) {
    for (const auto& s : c.cursor.samples)
        journal.append(s);
    for (const auto& e : c.events.events)
        journal.append(e);
    for (const auto& m : c.manualZoomEvents)
        journal.append(m);
}

QByteArray bytesOf(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

void overwrite(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

} // namespace

TEST(TelemetryJournal, WhatWasFlushedReadsBackExactlyAndTheRestIsNotOnDiskYet) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("clip-telemetry.jsonl"));
    const TelemetryJournalContents contents = sampleContents();
    auto journal = TelemetryJournal::create(path, contents.sourceSize);
    ASSERT_TRUE(journal.has_value()) << journal.error().toStdString();
    write(**journal, contents);

    // Nothing but the header until the flush: a killed process loses at most what came since.
    auto before = TelemetryJournal::read(path);
    ASSERT_TRUE(before.has_value());
    EXPECT_EQ(*before, (TelemetryJournalContents{contents.sourceSize, {}, {}, {}}));

    ASSERT_TRUE((*journal)->flush(true));
    auto after = TelemetryJournal::read(path);
    ASSERT_TRUE(after.has_value()) << after.error().toStdString();
    EXPECT_EQ(*after, contents);

    // Appends after a flush go on the end; the earlier lines stay.
    (*journal)->append(CursorSample{ProjectTime(2), 1, 2, 0});
    journal->reset(); // closing flushes
    auto closed = TelemetryJournal::read(path);
    ASSERT_TRUE(closed.has_value());
    EXPECT_EQ(closed->cursor.samples.size(), 3u);
    EXPECT_EQ(closed->events, contents.events);
}

TEST(TelemetryJournal, ATornOrDamagedTailEndsTheJournalThereButAForeignFileIsAnError) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("j.jsonl"));
    {
        auto journal = TelemetryJournal::create(path);
        ASSERT_TRUE(journal.has_value());
        write(**journal, sampleContents());
    }
    const QByteArray whole = bytesOf(path);
    const auto full = TelemetryJournal::read(path);
    ASSERT_TRUE(full.has_value());

    // Every cut point: what comes back is a prefix of the whole, never an error, never garbage.
    std::size_t lastCount = 0;
    for (qsizetype cut = whole.indexOf('\n') + 1; cut <= whole.size(); ++cut) {
        overwrite(path, whole.left(cut));
        const auto read = TelemetryJournal::read(path);
        ASSERT_TRUE(read.has_value()) << cut;
        const std::size_t count =
            read->cursor.samples.size() + read->events.events.size() + read->manualZoomEvents.size();
        EXPECT_GE(count, lastCount) << cut;
        lastCount = count;
        for (std::size_t i = 0; i < read->cursor.samples.size(); ++i)
            EXPECT_EQ(read->cursor.samples[i], full->cursor.samples[i]);
        for (std::size_t i = 0; i < read->events.events.size(); ++i)
            EXPECT_EQ(read->events.events[i], full->events.events[i]);
    }
    EXPECT_EQ(lastCount, 12u);

    // A line that parses but is no record (a bare-number time, an unknown key) ends it as well.
    const qsizetype secondLine = whole.indexOf('\n') + 1;
    QByteArray damaged = whole.left(secondLine) +
                         R"({"cursor":{"pressure":0,"time":5,"x":1,"y":2}})"
                         "\n" +
                         whole.mid(secondLine);
    overwrite(path, damaged);
    auto stopped = TelemetryJournal::read(path);
    ASSERT_TRUE(stopped.has_value());
    EXPECT_TRUE(stopped->cursor.samples.empty());
    overwrite(path, whole.left(secondLine) + R"({"mystery":{}})"
                                             "\n");
    EXPECT_TRUE(TelemetryJournal::read(path).has_value());

    // A file that is not a journal, or one from a newer program, is refused rather than read as empty.
    overwrite(path, R"({"samples": []})");
    EXPECT_FALSE(TelemetryJournal::read(path).has_value());
    overwrite(path, R"({"format":"orvane-telemetry-journal","version":2})"
                    "\n");
    EXPECT_FALSE(TelemetryJournal::read(path).has_value());
    overwrite(path, whole.left(secondLine - 1));
    EXPECT_FALSE(TelemetryJournal::read(path).has_value()) << "a header without its newline";
    EXPECT_FALSE(TelemetryJournal::read(dir.filePath(QStringLiteral("missing.jsonl"))).has_value());
    EXPECT_FALSE(TelemetryJournal::create(dir.filePath(QStringLiteral("no/such/dir/j.jsonl"))).has_value());
}

TEST(TelemetryJournal, CommitsReachTheFileWithoutWaitingAndSteadyAppendsDoNotAllocate) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("j.jsonl"));
    auto created = TelemetryJournal::create(path);
    ASSERT_TRUE(created.has_value());
    TelemetryJournal& journal = **created;

    // A batch well past the buffers' first size: every buffer the journal rotates grows to it once.
    const InputEvent key{InputEvent::KeyDown{ProjectTime(1), 0, QStringLiteral("aé"), 4}};
    const InputEvent scroll{InputEvent::Scroll{ProjectTime(1), 5, 6, 0.25, -1}};
    auto batch = [&](int round) {
        for (int i = 0; i < 3000; ++i)
            journal.append(CursorSample{ProjectTime(round + i / 3000.0), 100.5 + i, 200.25, 0});
        journal.append(key);
        journal.append(scroll);
        journal.append(ManualZoomEvent{ProjectTime(round), 1, 2});
    };
    std::size_t lastRoundAllocations = 0;
    for (int round = 0; round < 6; ++round) {
        const test::AllocationScope scope;
        batch(round);
        journal.commit();
        lastRoundAllocations = scope.allocations();
        ASSERT_TRUE(journal.flush());
    }
    EXPECT_EQ(lastRoundAllocations, 0u);

    // commit() returns at once; the writer thread puts the lines in the file by itself.
    journal.append(CursorSample{ProjectTime(99), 1, 1, 0});
    journal.commit();
    QElapsedTimer waited;
    waited.start();
    std::size_t samples = 0;
    while (waited.elapsed() < 5000) {
        const auto read = TelemetryJournal::read(path);
        ASSERT_TRUE(read.has_value());
        samples = read->cursor.samples.size();
        if (samples == 6 * 3000 + 1)
            break;
        QThread::msleep(5);
    }
    EXPECT_EQ(samples, 6u * 3000 + 1);
    const auto read = TelemetryJournal::read(path);
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->events.events.size(), 12u);
    EXPECT_EQ(read->events.events.back(), scroll);
    EXPECT_EQ(read->manualZoomEvents.size(), 6u);
    EXPECT_FALSE(read->sourceSize);
    EXPECT_FALSE(journal.error());

    // A disk with no room fails the header, which is the first thing written.
    const auto full = TelemetryJournal::create(QStringLiteral("/dev/full"));
    ASSERT_FALSE(full.has_value());
    EXPECT_TRUE(full.error().startsWith(QStringLiteral("/dev/full: "))) << full.error().toStdString();
}
