// The journal a recording's telemetry goes to as it is collected: what survives a kill, and what a
// damaged file gives back.
#include "capture/TelemetryJournal.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace orvane;

namespace {

TelemetryJournalContents sampleContents() {
    TelemetryJournalContents c;
    // Values that need every digit to come back equal, and a pointer outside the source.
    c.cursor.samples = {{ProjectTime(0.1), 10.5, 20.25, 0}, {ProjectTime(1.0 / 3), -4, 1e6 / 7, 0}};
    c.events.events = {InputEvent{InputEvent::LeftMouseDown{ProjectTime(0.5), 30, 40}},
                       InputEvent{InputEvent::OtherMouseDown{ProjectTime(0.6), 31, 41, 5}},
                       InputEvent{InputEvent::KeyDown{ProjectTime(0.7), 6, QStringLiteral("z\"\\\n"), 9}},
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
    auto journal = TelemetryJournal::create(path);
    ASSERT_TRUE(journal.has_value()) << journal.error().toStdString();
    const TelemetryJournalContents contents = sampleContents();
    write(**journal, contents);

    // Nothing but the header until the flush: a killed process loses at most what came since.
    auto before = TelemetryJournal::read(path);
    ASSERT_TRUE(before.has_value());
    EXPECT_EQ(*before, TelemetryJournalContents{});

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
    EXPECT_EQ(lastCount, 7u);

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

    overwrite(path, R"({"samples": []})");
    EXPECT_FALSE(TelemetryJournal::read(path).has_value());
    EXPECT_FALSE(TelemetryJournal::read(dir.filePath(QStringLiteral("missing.jsonl"))).has_value());
    EXPECT_FALSE(TelemetryJournal::create(dir.filePath(QStringLiteral("no/such/dir/j.jsonl"))).has_value());
}
