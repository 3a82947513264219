#include "SourceCatalog.h"

#include <QCollator>
#include <QHash>
#include <QSet>

#include <algorithm>

namespace orvane {

namespace {

using Policy = ShareableContent::ActivationPolicy;

QString sizeText(int width, int height) {
    return QStringLiteral("%1 \u00d7 %2").arg(width).arg(height);
}

bool isOwn(const ShareableContent::Application& app, const OwnProcess& own) {
    if (!own.bundleIdentifier.isEmpty() && app.bundleIdentifier == own.bundleIdentifier)
        return true;
    return own.processID != 0 && app.processID == own.processID;
}

bool isJunkTitle(const QString& trimmed) {
    return std::any_of(SourceCatalog::junkWindowTitles.begin(), SourceCatalog::junkWindowTitles.end(),
                       [&](const char* junk) { return trimmed == QLatin1String(junk); });
}

} // namespace

std::vector<CaptureSource> SourceCatalog::sources(const ShareableContent& content, const OwnProcess& own) {
    // Several processes of one application: the last one's policy counts.
    QHash<QString, Policy> policies;
    for (const auto& app : content.applications)
        if (!app.bundleIdentifier.isEmpty())
            policies.insert(app.bundleIdentifier, app.activationPolicy);

    std::vector<CaptureSource> result;
    for (const auto& display : content.displays) {
        CaptureSource source;
        source.id = QStringLiteral("display-%1").arg(display.displayID);
        source.kind = CaptureSource::Kind::display;
        source.title = QStringLiteral("Display %1").arg(display.displayID);
        source.subtitle = sizeText(display.width, display.height);
        source.pixelSize = {double(display.width), double(display.height)};
        source.displayID = display.displayID;
        result.push_back(std::move(source));
    }

    for (const auto& window : content.windows) {
        if (!window.owningApplication)
            continue;
        const auto& owner = *window.owningApplication;
        if (isOwn(owner, own) || owner.isSystemChrome || window.isSystemSurface)
            continue;
        if (auto policy = policies.constFind(owner.bundleIdentifier);
            policy != policies.cend() && *policy == Policy::prohibited)
            continue;
        const QString title = window.title.value_or(QString()).trimmed();
        if (title.isEmpty() || isJunkTitle(title))
            continue;
        if (window.frame.width <= minimumWindowSide || window.frame.height <= minimumWindowSide)
            continue;
        CaptureSource source;
        source.id = QStringLiteral("window-%1").arg(window.windowID);
        source.kind = CaptureSource::Kind::window;
        source.title = title;
        source.subtitle = owner.applicationName;
        source.pixelSize = {window.frame.width, window.frame.height};
        source.windowID = window.windowID;
        result.push_back(std::move(source));
    }

    const Size appSize = content.displays.empty() ? fallbackApplicationSize
                                                  : Size{double(content.displays.front().width),
                                                         double(content.displays.front().height)};
    std::vector<const ShareableContent::Application*> apps;
    for (const auto& app : content.applications)
        apps.push_back(&app);
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(apps.begin(), apps.end(), [&](const auto* a, const auto* b) {
        return collator.compare(a->applicationName, b->applicationName) < 0;
    });
    QSet<QString> taken;
    for (const auto* app : apps) {
        if (app->bundleIdentifier.isEmpty() || isOwn(*app, own) || app->isSystemChrome)
            continue;
        if (auto policy = policies.constFind(app->bundleIdentifier);
            policy == policies.cend() || *policy != Policy::regular)
            continue;
        if (taken.contains(app->bundleIdentifier))
            continue;
        taken.insert(app->bundleIdentifier);
        CaptureSource source;
        source.id = QStringLiteral("app-") + app->bundleIdentifier;
        source.kind = CaptureSource::Kind::app;
        source.title = app->applicationName;
        source.subtitle = app->bundleIdentifier;
        source.pixelSize = appSize;
        source.appBundleID = app->bundleIdentifier;
        result.push_back(std::move(source));
    }
    return result;
}

tl::expected<CaptureTarget, CaptureEngineError> SourceCatalog::resolve(const CaptureSource& source,
                                                                       const ShareableContent& content) {
    const auto notFound = tl::unexpected(CaptureEngineError::of(CaptureEngineError::Kind::sourceNotFound));
    auto displayTarget = [](const ShareableContent::Display& d) {
        CaptureTarget target;
        target.kind = CaptureTarget::Kind::display;
        target.displayID = d.displayID;
        target.frameInGlobal = d.frame;
        target.pixelSize = {double(d.width), double(d.height)};
        return target;
    };
    switch (source.kind) {
    case CaptureSource::Kind::display: {
        if (!source.displayID)
            return notFound;
        const auto it = std::find_if(content.displays.begin(), content.displays.end(),
                                     [&](const auto& d) { return d.displayID == *source.displayID; });
        if (it == content.displays.end())
            return notFound;
        return displayTarget(*it);
    }
    case CaptureSource::Kind::window: {
        if (!source.windowID)
            return notFound;
        const auto it = std::find_if(content.windows.begin(), content.windows.end(),
                                     [&](const auto& w) { return w.windowID == *source.windowID; });
        if (it == content.windows.end())
            return notFound;
        CaptureTarget target;
        target.kind = CaptureTarget::Kind::window;
        target.windowID = it->windowID;
        target.frameInGlobal = it->frame;
        // X11 windows are measured in pixels already; there is no backing scale to multiply by.
        target.pixelSize = {it->frame.width, it->frame.height};
        return target;
    }
    case CaptureSource::Kind::app: {
        if (!source.appBundleID || source.appBundleID->isEmpty())
            return notFound;
        const bool running =
            std::any_of(content.applications.begin(), content.applications.end(),
                        [&](const auto& a) { return a.bundleIdentifier == *source.appBundleID; });
        if (!running || content.displays.empty())
            return notFound;
        return displayTarget(content.displays.front());
    }
    }
    return notFound;
}

} // namespace orvane
