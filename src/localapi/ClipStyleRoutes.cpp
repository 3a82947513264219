// Routes that change the look of one clip. All of them edit through apiUpdateClip: no undo step, an
// autosave. Out-of-range numbers clamp silently and unknown texts leave the clip as it was, except the
// transition kind and the camera layout, which are refused.
#include "LocalAPIServer.h"

#include <algorithm>

namespace orvane {

namespace {

const QString kMissingBody = QStringLiteral("Missing JSON body");

// The clip ID of the path, or none after answering 400.
std::optional<QUuid> clipID(const ApiCall& call) {
    const auto id = parseUuid(call.pathID());
    if (!id)
        call.respond(400, QStringLiteral("Invalid clip ID"));
    return id;
}

void updateClip(const ApiCall& call, const QUuid& id, std::function<void(Clip&)> mutate,
                JsonObject answer = {}) {
    call.onMain([id, mutate = std::move(mutate), answer = std::move(answer)](LocalScreenAPIDelegate& app) {
        if (auto updated = app.apiUpdateClip(id, mutate); !updated)
            return ApiResponse::error(400, updated.error().description);
        return ApiResponse::ok(answer);
    });
}

void handleSetBackground(const ApiCall& call) {
    const auto id = clipID(call);
    if (!id)
        return;
    if (!call.body())
        return call.respond(400, kMissingBody);
    const QString style = call.string("style").value_or(QStringLiteral("gradient"));
    std::optional<BackgroundStyle> background;
    if (style == QLatin1StringView("solid")) {
        if (const auto hex = call.string("color"))
            if (const auto color = RGBAColor::fromHex(*hex))
                background = BackgroundStyle::solid(*color);
    } else if (style == QLatin1StringView("gradient")) {
        if (const auto preset = call.string("preset"))
            for (const auto& named : BackgroundStyle::presetGradients())
                if (named.name.compare(*preset, Qt::CaseInsensitive) == 0) {
                    background = BackgroundStyle::gradient(named.fill);
                    break;
                }
    } else if (style == QLatin1StringView("blur")) {
        background = BackgroundStyle::blurredExtension(call.number("blurRadius").value_or(30));
    }
    updateClip(call, *id,
               [background](Clip& c) {
                   if (background)
                       c.background = *background;
               },
               {{"style", style}});
}

std::optional<ChromeStyle> chromeFrom(const ApiCall& call) {
    const auto chrome = call.string("chrome");
    if (!chrome)
        return std::nullopt;
    const bool light = call.string("chromeTheme") == QStringLiteral("light");
    const auto url = call.string("chromeUrl");
    using B = ChromeStyle::BrowserTheme;
    if (*chrome == QLatin1StringView("none"))
        return ChromeStyle::none();
    if (*chrome == QLatin1StringView("macos") || *chrome == QLatin1StringView("macOS"))
        return ChromeStyle::macOSWindow(call.string("chromeTitle").value_or(QString()),
                                        light ? ChromeStyle::WindowTheme::light
                                              : ChromeStyle::WindowTheme::dark);
    if (*chrome == QLatin1StringView("safari"))
        return ChromeStyle::browser(light ? B::safariLight : B::safariDark, url);
    if (*chrome == QLatin1StringView("chrome"))
        return ChromeStyle::browser(light ? B::chromeLight : B::chromeDark, url);
    if (*chrome == QLatin1StringView("arc"))
        return ChromeStyle::browser(B::arc, url);
    if (*chrome == QLatin1StringView("iphone"))
        return ChromeStyle::mobile(ChromeStyle::MobileDevice::iPhone15Pro);
    if (*chrome == QLatin1StringView("ipad"))
        return ChromeStyle::mobile(ChromeStyle::MobileDevice::iPadPro);
    return std::nullopt;
}

std::optional<ShadowStyle> shadowPreset(const std::optional<QString>& name) {
    if (!name)
        return std::nullopt;
    if (*name == QLatin1StringView("none"))
        return ShadowStyle::none();
    if (*name == QLatin1StringView("subtle"))
        return ShadowStyle::subtle();
    if (*name == QLatin1StringView("premium"))
        return ShadowStyle::premium();
    if (*name == QLatin1StringView("dramatic"))
        return ShadowStyle::dramatic();
    return std::nullopt;
}

void handleSetFrame(const ApiCall& call) {
    const auto id = clipID(call);
    if (!id)
        return;
    if (!call.body())
        return call.respond(400, kMissingBody);
    const auto padding = call.number("padding");
    const auto radius = call.number("cornerRadius");
    const auto shadow = shadowPreset(call.string("shadow"));
    const auto chrome = chromeFrom(call);
    updateClip(call, *id, [=](Clip& c) {
        if (padding)
            c.frame.paddingFraction = std::clamp(*padding, 0.0, 0.3);
        if (radius)
            c.frame.cornerRadius = std::clamp(*radius, 0.0, 100.0);
        if (shadow)
            c.frame.shadow = *shadow;
        if (chrome)
            c.frame.chrome = *chrome;
    });
}

void handleSetColorGrade(const ApiCall& call) {
    const auto id = clipID(call);
    if (!id)
        return;
    if (!call.body())
        return call.respond(400, kMissingBody);
    struct Field {
        const char* key;
        double ColorGrade::*member;
        double lo, hi;
    };
    static const Field fields[] = {
        {"exposure", &ColorGrade::exposure, -2, 2},       {"contrast", &ColorGrade::contrast, 0, 2},
        {"saturation", &ColorGrade::saturation, 0, 2},    {"vibrance", &ColorGrade::vibrance, -1, 1},
        {"temperature", &ColorGrade::temperature, -1, 1}, {"tint", &ColorGrade::tint, -1, 1},
        {"highlights", &ColorGrade::highlights, -1, 1},   {"shadows", &ColorGrade::shadows, -1, 1}};
    std::vector<std::pair<double ColorGrade::*, double>> changes;
    for (const Field& f : fields)
        if (const auto v = call.number(f.key))
            changes.emplace_back(f.member, std::clamp(*v, f.lo, f.hi));
    const auto lut = call.string("lut");
    updateClip(call, *id, [changes, lut](Clip& c) {
        for (const auto& [member, value] : changes)
            c.colorGrade.*member = value;
        if (lut)
            c.colorGrade.lutName = lut->isEmpty() ? std::nullopt : lut;
    });
}

void handleSetTransition(const ApiCall& call) {
    const auto id = clipID(call);
    if (!id)
        return;
    if (!call.body())
        return call.respond(400, kMissingBody);
    const QString kindName = call.string("kind").value_or(QStringLiteral("crossDissolve"));
    const double duration = call.number("duration").value_or(0.5);
    const auto kind = enumFromName<TransitionKind>(kindName);
    if (!kind) {
        QStringList names;
        for (const auto& entry : enumEntries(TransitionKind{}))
            names << QString::fromLatin1(entry.name.data(), qsizetype(entry.name.size()));
        return call.respond(400, QStringLiteral("Invalid transition kind '%1'. Valid: %2")
                                     .arg(kindName, names.join(QStringLiteral(", "))));
    }
    updateClip(call, *id,
               [kind = *kind, duration](Clip& c) {
                   if (kind == TransitionKind::none)
                       c.transitionIn.reset();
                   else
                       c.transitionIn = Transition{kind, ProjectTime(std::clamp(duration, 0.1, 3.0)),
                                                   EasingCurve::cinematic()};
               },
               {{"kind", kindName}, {"duration", duration}});
}

void handleAddTextOverlay(const ApiCall& call) {
    const auto id = clipID(call);
    if (!id)
        return;
    const QString text = call.string("text").value_or(QString());
    if (text.isEmpty())
        return call.respond(400, QStringLiteral("Missing 'text'"));
    const double start = call.number("startTime").value_or(0);
    const double duration = call.number("duration").value_or(3);
    const QString positionName = call.string("position").value_or(QStringLiteral("lowerThird"));
    const QString styleName = call.string("style").value_or(QStringLiteral("default"));
    const QString animationName = call.string("animation").value_or(QStringLiteral("fadeIn"));

    TextOverlay overlay;
    overlay.id = QUuid::createUuid();
    overlay.text = text;
    overlay.timeRange = TimeRange{ProjectTime(start), ProjectTime(duration)};
    overlay.position =
        enumFromName<TextOverlay::Position>(positionName).value_or(TextOverlay::Position::lowerThird);
    overlay.animation =
        enumFromName<TextOverlay::Animation>(animationName).value_or(TextOverlay::Animation::fadeIn);
    if (styleName == QLatin1StringView("titleCard"))
        overlay.style = TextStyle::titleCard();
    else if (styleName == QLatin1StringView("lowerThird"))
        overlay.style = TextStyle::lowerThird();
    else if (styleName == QLatin1StringView("caption"))
        overlay.style = TextStyle::caption();
    else
        overlay.style = TextStyle::defaults();
    updateClip(call, *id, [overlay](Clip& c) { c.textOverlays.push_back(overlay); },
               {{"overlayId", uuidString(overlay.id)}, {"text", text}, {"position", positionName}});
}

void handleSetSpeed(const ApiCall& call) {
    const auto id = clipID(call);
    if (!id)
        return;
    const auto speed = call.number("speed");
    if (!speed)
        return call.respond(400, QStringLiteral("Missing 'speed' (e.g. 0.5, 1.0, 2.0)"));
    const double clamped = std::clamp(*speed, 0.1, 16.0);
    updateClip(call, *id, [clamped](Clip& c) { c.speed = clamped; }, {{"speed", clamped}});
}

void handleSetMotionBlur(const ApiCall& call) {
    const auto id = clipID(call);
    if (!id)
        return;
    if (!call.body())
        return call.respond(400, kMissingBody);
    const auto cursor = call.number("cursor");
    const auto zoom = call.number("zoom");
    const auto pan = call.number("pan");
    const bool glassStage = call.string("preset") == QStringLiteral("glassStage");
    updateClip(call, *id, [=](Clip& c) {
        if (cursor)
            c.motionBlur.cursorStrength = std::clamp(*cursor, 0.0, 1.0);
        if (zoom)
            c.motionBlur.zoomStrength = std::clamp(*zoom, 0.0, 1.0);
        if (pan)
            c.motionBlur.panStrength = std::clamp(*pan, 0.0, 1.0);
        if (glassStage)
            c.motionBlur = MotionBlurConfig::glassStage();
    });
}

void handleSetKeystrokes(const ApiCall& call) {
    const auto id = clipID(call);
    if (!id)
        return;
    const bool enabled = call.boolean("enabled").value_or(true);
    updateClip(call, *id, [enabled](Clip& c) { c.showKeystrokes = enabled; }, {{"showKeystrokes", enabled}});
}

void handleSetCameraLayout(const ApiCall& call) {
    const auto id = clipID(call);
    if (!id)
        return;
    const QString layoutName = call.string("layout").value_or(QStringLiteral("pip"));
    const auto layout = enumFromName<CameraLayout>(layoutName);
    if (!layout)
        return call.respond(400, QStringLiteral("Invalid layout. Use: pip, fullscreen, hidden"));
    updateClip(call, *id, [layout = *layout](Clip& c) { c.cameraLayout = layout; }, {{"layout", layoutName}});
}

void handleAddZoomKeyframe(const ApiCall& call) {
    const auto id = clipID(call);
    if (!id)
        return;
    if (!call.body())
        return call.respond(400, kMissingBody);
    const double time = call.number("time").value_or(0);
    const NormalizedRect rect{std::clamp(call.number("x").value_or(0), 0.0, 1.0),
                              std::clamp(call.number("y").value_or(0), 0.0, 1.0),
                              std::clamp(call.number("width").value_or(1), 0.05, 1.0),
                              std::clamp(call.number("height").value_or(1), 0.05, 1.0)};
    call.onMain([id = *id, time, rect](LocalScreenAPIDelegate& app) {
        const Keyframe<NormalizedRect> key{ProjectTime(time), rect, EasingCurve::spring()};
        if (auto updated = app.apiUpdateClip(id, [&](Clip& c) { c.zoomTrack.insert(key); }); !updated)
            return ApiResponse::error(400, updated.error().description);
        const auto bundle = app.currentBundle();
        const Clip* clip = bundle ? bundle->project().timeline.clip(id) : nullptr;
        return ApiResponse::ok(
            {{"time", time},
             {"rect",
              JsonObject{{"x", rect.x}, {"y", rect.y}, {"width", rect.width}, {"height", rect.height}}},
             {"keyframeCount", clip ? int(clip->zoomTrack.count()) : 0}});
    });
}

void handleClearZoom(const ApiCall& call) {
    const auto id = clipID(call);
    if (!id)
        return;
    updateClip(call, *id, [](Clip& c) { c.zoomTrack.removeAll(); });
}

void handleSetPerspective(const ApiCall& call) {
    const auto id = clipID(call);
    if (!id)
        return;
    if (!call.body())
        return call.respond(400, kMissingBody);
    const bool enabled = call.boolean("enabled").value_or(true);
    const auto tiltX = call.number("tiltX");
    const auto tiltY = call.number("tiltY");
    const auto depth = call.number("depth");
    updateClip(call, *id, [=](Clip& c) {
        c.frame.perspective.isEnabled = enabled;
        if (tiltX)
            c.frame.perspective.tiltX = std::clamp(*tiltX, -1.0, 1.0);
        if (tiltY)
            c.frame.perspective.tiltY = std::clamp(*tiltY, -1.0, 1.0);
        if (depth)
            c.frame.perspective.depth = std::clamp(*depth, 0.0, 1.0);
    });
}

void handleAutoZoom(const ApiCall& call) {
    const auto id = clipID(call);
    if (!id)
        return;
    call.onMainAsync([id = *id](LocalScreenAPIDelegate& app) -> QCoro::Task<ApiResponse> {
        auto generating = app.apiGenerateAutoZoom(id);
        const auto count = co_await generating;
        if (!count)
            co_return ApiResponse::error(400, count.error().description);
        co_return ApiResponse::ok({{"keyframeCount", *count}});
    });
}

} // namespace

void addClipStyleRoutes(std::vector<LocalAPIServer::Route>& routes) {
    const QString post = QStringLiteral("POST");
    auto clipRoute = [&](const char* action, LocalAPIServer::Handler handler) {
        routes.push_back({post,
                          {QStringLiteral("project"), QStringLiteral("clip"), QStringLiteral("<id>"),
                           QString::fromLatin1(action)},
                          std::move(handler)});
    };
    clipRoute("background", &handleSetBackground);
    clipRoute("frame", &handleSetFrame);
    clipRoute("color-grade", &handleSetColorGrade);
    clipRoute("transition", &handleSetTransition);
    clipRoute("text-overlay", &handleAddTextOverlay);
    clipRoute("speed", &handleSetSpeed);
    clipRoute("motion-blur", &handleSetMotionBlur);
    clipRoute("keystrokes", &handleSetKeystrokes);
    clipRoute("camera-layout", &handleSetCameraLayout);
    clipRoute("zoom-keyframe", &handleAddZoomKeyframe);
    clipRoute("clear-zoom", &handleClearZoom);
    clipRoute("perspective", &handleSetPerspective);
    clipRoute("auto-zoom", &handleAutoZoom);
}

} // namespace orvane
