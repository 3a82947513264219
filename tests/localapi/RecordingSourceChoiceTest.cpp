#include "localapi/RecordingSourceChoice.h"

#include <gtest/gtest.h>

using namespace orvane;

namespace {

CaptureSource source(const char* id, CaptureSource::Kind kind, const char* title, const char* subtitle = "") {
    CaptureSource s;
    s.id = QString::fromLatin1(id);
    s.kind = kind;
    s.title = QString::fromUtf8(title);
    s.subtitle = QString::fromUtf8(subtitle);
    return s;
}

using Kind = CaptureSource::Kind;

// Listed as discovery lists them: displays, windows, applications. Some titles are chosen to compete
// with ids and with sources of other kinds.
const std::vector<CaptureSource> sources{
    source("display-1", Kind::display, "Display 1", "1280 × 720"),
    source("display-2", Kind::display, "Display 2", "1920 × 1080"),
    source("window-9", Kind::window, "Notes about window-10", "editor"),
    source("window-10", Kind::window, "Notes.txt", "editor"),
    source("window-11", Kind::window, "Display settings", "control"),
    source("app-Player", Kind::app, "Player", "Player"),
    source("app-player", Kind::app, "player", "player"),
};

struct Case {
    const char* name;
    std::optional<const char*> text;
    std::optional<const char*> type;
    const char* selected;
    // The id picked, or the status and error of the refusal.
    const char* expectedID;
    int expectedStatus = 200;
    const char* expectedError = "";
};

} // namespace

TEST(RecordingSourceChoice, MatchingPassesFiltersAndFallbacks) {
    const Case cases[] = {
        {"title contains, any case", "display 2", {}, "", "display-2"},
        {"the first candidate whose title contains", "display", {}, "", "display-1"},
        {"kind filter before matching", "display", "window", "", "window-11"},
        {"a case-folded id beats an earlier title", "Window-10", {}, "", "window-10"},
        {"an exact id beats an earlier case-folded one", "app-player", {}, "", "app-player"},
        {"subtitles match too", "CONTROL", {}, "", "window-11"},
        {"an unknown type filters nothing", "notes.txt", "monitor", "", "window-10"},
        {"screen and application are aliases", "player", "application", "", "app-Player"},
        {"a type alone takes its first source over the selection", {}, "window", "display-2", "window-9"},
        {"screen alone takes the first display", {}, "screen", "display-2", "display-1"},
        {"nothing said keeps the selection", {}, {}, "window-10", "window-10"},
        {"an empty text is nothing said", "", "bogus", "window-10", "window-10"},
        {"a stale selection falls back to the first display", {}, {}, "window-99", "display-1"},
        {"no match of the kind", "Notes.txt", "display", "", "", 404,
         "No display matching 'Notes.txt'. Use GET /sources to list."},
        {"no match at all",
         "zzz",
         {},
         "display-1",
         "",
         404,
         "No source matching 'zzz'. Use GET /sources to list."},
        {"the label is the type as given", "zzz", "window", "", "", 404,
         "No window matching 'zzz'. Use GET /sources to list."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        RecordingSourceRequest request;
        if (c.text)
            request.source = QString::fromUtf8(*c.text);
        if (c.type)
            request.sourceType = QString::fromLatin1(*c.type);
        const auto chosen = chooseRecordingSource(sources, request, QString::fromLatin1(c.selected));
        if (c.expectedStatus == 200) {
            ASSERT_TRUE(chosen) << chosen.error().body->value("error").toString().toStdString();
            EXPECT_EQ(chosen->id.toStdString(), c.expectedID);
        } else {
            ASSERT_FALSE(chosen) << chosen->id.toStdString();
            EXPECT_EQ(chosen.error().status, c.expectedStatus);
            EXPECT_EQ(chosen.error().body->value("error").toString().toStdString(), c.expectedError);
        }
    }
}

TEST(RecordingSourceChoice, FewerKindsOfSource) {
    const std::vector<CaptureSource> windowsOnly{source("window-3", Kind::window, "Terminal"),
                                                 source("app-term", Kind::app, "Term")};
    // No display to fall back on: the first source of any kind.
    EXPECT_EQ(chooseRecordingSource(windowsOnly, {}, QString())->id, QStringLiteral("window-3"));
    // A type with no sources of its kind falls through to the usual choice rather than failing.
    RecordingSourceRequest displays{std::nullopt, QStringLiteral("display")};
    EXPECT_EQ(chooseRecordingSource(windowsOnly, displays, QStringLiteral("app-term"))->id,
              QStringLiteral("app-term"));
    RecordingSourceRequest named{QStringLiteral("Terminal"), QStringLiteral("display")};
    EXPECT_EQ(chooseRecordingSource(windowsOnly, named, QString()).error().status, 404);

    const auto none = chooseRecordingSource({}, displays, QStringLiteral("display-1"));
    ASSERT_FALSE(none);
    EXPECT_EQ(none.error().status, 400);
    EXPECT_EQ(none.error().body->value("error").toString(), QStringLiteral("No capture sources available"));
    EXPECT_EQ(recordingSourceKind(QStringLiteral("Display")), std::nullopt); // the route lower-cases first
}
