#include "capture/SourceCatalog.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace orvane;
using Policy = ShareableContent::ActivationPolicy;

namespace {

ShareableContent::Application app(const char* bundle, std::uint32_t pid = 100,
                                  Policy policy = Policy::regular, bool chrome = false) {
    return {QString::fromUtf8(bundle), QString::fromUtf8(bundle), pid, policy, chrome};
}

ShareableContent::Window window(std::uint32_t id, std::optional<QString> title,
                                std::optional<ShareableContent::Application> owner,
                                Rect frame = {0, 0, 400, 300}, bool systemSurface = false) {
    return {id, std::move(title), frame, std::move(owner), systemSurface};
}

std::vector<std::string> ids(const std::vector<CaptureSource>& sources) {
    std::vector<std::string> result;
    for (const auto& s : sources)
        result.push_back(s.id.toStdString());
    return result;
}

CaptureSource sourceOf(const char* id, CaptureSource::Kind kind) {
    CaptureSource source;
    source.id = QString::fromUtf8(id);
    source.kind = kind;
    return source;
}

const OwnProcess own{QStringLiteral("orvane-screen"), 4242};

TEST(SourceCatalogTest, WindowsAreFilteredInTheirOrder) {
    struct Case {
        const char* name;
        ShareableContent::Window window;
        bool listed;
    };
    const auto editor = app("Editor");
    const Case cases[] = {
        {"no WM_CLASS", window(1, QStringLiteral("Untitled"), std::nullopt), false},
        {"our own class", window(2, QStringLiteral("Preview"), app("orvane-screen", 7)), false},
        {"our own process", window(3, QStringLiteral("Helper"), app("Helper", own.processID)), false},
        {"a shell's window", window(4, QStringLiteral("Settings"), app("Shell", 9, Policy::accessory, true)),
         false},
        {"a dock", window(5, QStringLiteral("Panel"), editor, {0, 0, 1920, 40}, true), false},
        {"prohibited owner", window(6, QStringLiteral("Agent"), app("Agent", 11, Policy::prohibited)), false},
        {"empty title", window(7, QStringLiteral(" \n\t"), editor), false},
        {"no title", window(8, std::nullopt, editor), false},
        {"junk title, trimmed first", window(9, QStringLiteral(" Item-0 "), editor), false},
        {"junk is case-sensitive", window(10, QStringLiteral("window"), editor), true},
        {"too narrow", window(11, QStringLiteral("Strip"), editor, {0, 0, 80, 600}), false},
        {"too low", window(12, QStringLiteral("Bar"), editor, {0, 0, 600, 80}), false},
        {"just big enough", window(13, QStringLiteral("Small"), editor, {5, 5, 81, 81}), true},
        {"an accessory's window stays",
         window(14, QStringLiteral("Palette"), app("Tools", 12, Policy::accessory)), true},
    };
    for (const Case& c : cases) {
        ShareableContent content;
        content.windows.push_back(c.window);
        if (c.window.owningApplication)
            content.applications.push_back(*c.window.owningApplication);
        const auto sources = SourceCatalog::sources(content, own);
        const bool listed = std::any_of(sources.begin(), sources.end(),
                                        [](const auto& s) { return s.kind == CaptureSource::Kind::window; });
        EXPECT_EQ(listed, c.listed) << c.name;
    }
}

TEST(SourceCatalogTest, ListsDisplaysThenWindowsThenApplicationsByName) {
    ShareableContent content;
    content.displays = {{7, {0, 0, 1920, 1080}, 1920, 1080}, {9, {1920, 0, 1280, 1024}, 1280, 1024}};
    const auto zeta = app("zeta", 1), alpha = app("Alpha", 2), alphaAgain = app("Alpha", 3);
    const auto beta = app("beta", 4), tools = app("Tools", 5, Policy::accessory);
    const auto mine = app("orvane-screen", 6);
    content.applications = {zeta, alpha, beta, alphaAgain, tools, mine, app("", 8)};
    content.windows = {window(30, QStringLiteral("  Notes  "), zeta, {10, 20, 500, 400}),
                       window(31, QStringLiteral("Main"), alpha, {0, 0, 800, 600}),
                       window(32, QStringLiteral("Preview"), mine)};

    const auto sources = SourceCatalog::sources(content, own);
    EXPECT_EQ(ids(sources), (std::vector<std::string>{"display-7", "display-9", "window-30", "window-31",
                                                      "app-Alpha", "app-beta", "app-zeta"}));
    const CaptureSource& display = sources[1];
    EXPECT_EQ(display.title, QStringLiteral("Display 9"));
    EXPECT_EQ(display.subtitle, QStringLiteral("1280 \u00d7 1024"));
    EXPECT_EQ(display.pixelSize, (Size{1280, 1024}));
    EXPECT_EQ(display.displayID, 9u);
    const CaptureSource& notes = sources[2];
    EXPECT_EQ(notes.title, QStringLiteral("Notes"));
    EXPECT_EQ(notes.subtitle, QStringLiteral("zeta"));
    EXPECT_EQ(notes.pixelSize, (Size{500, 400}));
    EXPECT_EQ(notes.windowID, 30u);
    // Applications take the first display's size.
    EXPECT_EQ(sources[4].pixelSize, (Size{1920, 1080}));
    EXPECT_EQ(sources[4].appBundleID, QStringLiteral("Alpha"));
    EXPECT_EQ(sources[4].subtitle, QStringLiteral("Alpha"));
    EXPECT_EQ(sources[4].describe(), QStringLiteral("app-Alpha\tapp\t1920x1080\tAlpha\tAlpha"));

    content.displays.clear();
    const auto noDisplay = SourceCatalog::sources(content, own);
    EXPECT_EQ(noDisplay.back().pixelSize, SourceCatalog::fallbackApplicationSize);
}

TEST(SourceCatalogTest, AnApplicationsLastProcessDecidesItsPolicy) {
    ShareableContent content;
    content.applications = {app("Browser", 1, Policy::regular), app("Browser", 2, Policy::accessory),
                            app("Player", 3, Policy::accessory), app("Player", 4, Policy::regular)};
    EXPECT_EQ(ids(SourceCatalog::sources(content, own)), (std::vector<std::string>{"app-Player"}));
}

TEST(SourceCatalogTest, ResolvesSourcesToWhatIsCaptured) {
    ShareableContent content;
    content.displays = {{5, {0, 0, 1280, 720}, 1280, 720}, {6, {1280, 0, 800, 600}, 800, 600}};
    content.applications = {app("Editor")};
    // Discovery hides tiny windows, but a source that names one still resolves.
    content.windows = {window(70, QStringLiteral("Editor"), content.applications[0], {100, 50, 321, 241}),
                       window(71, std::nullopt, std::nullopt, {0, 0, 20, 20})};

    CaptureSource display = sourceOf("display-6", CaptureSource::Kind::display);
    display.displayID = 6;
    EXPECT_EQ(SourceCatalog::resolve(display, content).value(),
              (CaptureTarget{CaptureTarget::Kind::display, 6, 0, {1280, 0, 800, 600}, {800, 600}}));

    CaptureSource win = sourceOf("window-70", CaptureSource::Kind::window);
    win.windowID = 70;
    const CaptureTarget target = SourceCatalog::resolve(win, content).value();
    EXPECT_EQ(target.kind, CaptureTarget::Kind::window);
    EXPECT_EQ(target.frameInGlobal, (Rect{100, 50, 321, 241}));
    EXPECT_EQ(target.pixelSize, (Size{321, 241}));
    win.windowID = 71;
    EXPECT_TRUE(SourceCatalog::resolve(win, content));

    CaptureSource application = sourceOf("app-Editor", CaptureSource::Kind::app);
    application.appBundleID = QStringLiteral("Editor");
    EXPECT_EQ(SourceCatalog::resolve(application, content)->displayID, 5u);

    const auto notFound = CaptureEngineError::of(CaptureEngineError::Kind::sourceNotFound);
    for (CaptureSource missing : {display, win, application}) {
        missing.displayID.reset();
        missing.windowID.reset();
        missing.appBundleID = QString();
        EXPECT_EQ(SourceCatalog::resolve(missing, content).error(), notFound) << missing.id.toStdString();
    }
    display.displayID = 99;
    EXPECT_EQ(SourceCatalog::resolve(display, content).error(), notFound);
    application.appBundleID = QStringLiteral("Editor");
    content.displays.clear();
    EXPECT_EQ(SourceCatalog::resolve(application, content).error(), notFound);
    EXPECT_EQ(notFound.message(), QStringLiteral("The selected source could not be found."));
}

} // namespace
