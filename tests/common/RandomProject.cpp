#include "RandomProject.h"

#include <array>

namespace orvane::test {

namespace {

class Gen {
public:
    Gen(std::uint64_t seed, bool fillOptionals)
        : m_rng(seed)
        , m_fill(fillOptionals) {}

    bool coin() { return std::uniform_int_distribution<int>(0, 1)(m_rng) == 1; }
    int integer(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(m_rng); }
    double number() {
        // Mix whole numbers, short decimals and full-precision values: each formats differently.
        switch (integer(0, 3)) {
        case 0:
            return integer(-1000, 1000);
        case 1:
            return integer(-1000, 1000) / 100.0;
        case 2:
            return std::uniform_real_distribution<double>(-1e6, 1e6)(m_rng);
        default:
            return std::uniform_real_distribution<double>(0, 1)(m_rng);
        }
    }
    double unit() { return std::uniform_real_distribution<double>(0, 1)(m_rng); }
    QString text() {
        static const std::array<const char*, 7> samples = {
            "",          "Intro", "quote \" and back\\slash", "line\nbreak\ttab", "Grüße – 日本語 🎬",
            "</script>", "x"};
        return QString::fromUtf8(samples[std::size_t(integer(0, int(samples.size()) - 1))]);
    }
    QByteArray blob() {
        QByteArray b(integer(0, 40), Qt::Uninitialized);
        for (char& c : b)
            c = char(integer(0, 255));
        return b;
    }
    QUuid uuid() {
        QByteArray bytes(16, Qt::Uninitialized);
        for (char& c : bytes)
            c = char(integer(0, 255));
        bytes[6] = char((bytes[6] & 0x0F) | 0x40); // version 4
        bytes[8] = char((bytes[8] & 0x3F) | 0x80); // RFC 4122 variant
        return QUuid::fromRfc4122(bytes);
    }
    template <class E>
    E pick() {
        const auto entries = enumEntries(E{});
        return entries[std::size_t(integer(0, int(entries.size()) - 1))].value;
    }
    template <class T, class F>
    std::optional<T> maybe(F make) {
        if (m_fill && coin())
            return make();
        return std::nullopt;
    }
    template <class T, class F>
    std::vector<T> list(int max, F make) {
        std::vector<T> v;
        if (!m_fill)
            return v;
        const int n = integer(0, max);
        for (int i = 0; i < n; ++i)
            v.push_back(make());
        return v;
    }

    ProjectTime time() { return ProjectTime(number()); }
    TimeRange range() { return {time(), time()}; }
    NormalizedPoint point() { return {unit(), unit()}; }
    NormalizedRect rect() { return {unit(), unit(), unit(), unit()}; }
    RGBAColor color() { return {unit(), unit(), unit(), unit()}; }
    EasingCurve easing() { return {pick<EasingCurve::Kind>(), number(), number(), number(), number()}; }
    ShadowStyle shadow() { return {color(), number(), number(), number(), unit()}; }

    template <class V, class F>
    KeyframeTrack<V> track(int count, F value) {
        KeyframeTrack<V> t;
        double at = number();
        for (int i = 0; i < count; ++i) {
            t.keyframes.push_back({ProjectTime(at), value(), easing()});
            at += unit();
        }
        return t;
    }

    BackgroundStyle background() {
        switch (integer(0, 4)) {
        case 0:
            return BackgroundStyle::solid(color());
        case 1: {
            GradientFill fill;
            fill.angleDegrees = number();
            fill.stops = list<GradientStop>(4, [&] { return GradientStop{unit(), color()}; });
            return BackgroundStyle::gradient(fill);
        }
        case 2:
            return BackgroundStyle::wallpaper(text());
        case 3:
            return BackgroundStyle::customImage(blob());
        default:
            return BackgroundStyle::blurredExtension(number());
        }
    }

    ChromeStyle chrome() {
        switch (integer(0, 3)) {
        case 0:
            return ChromeStyle::none();
        case 1:
            return ChromeStyle::macOSWindow(text(), pick<ChromeStyle::WindowTheme>());
        case 2:
            return ChromeStyle::browser(pick<ChromeStyle::BrowserTheme>(),
                                        maybe<QString>([&] { return text(); }));
        default:
            return ChromeStyle::mobile(pick<ChromeStyle::MobileDevice>());
        }
    }

    FrameStyle frame() {
        return {number(),
                number(),
                shadow(),
                chrome(),
                number(),
                color(),
                {coin(), number(), number(), number()}};
    }

    CursorStyle cursor() {
        return {coin(),
                number(),
                unit(),
                pick<CursorShape>(),
                color(),
                coin(),
                {coin(), color(), number(), number(), number(), coin()},
                {coin(), color(), number(), unit()}};
    }

    AutoZoomConfig autoZoom() {
        return {coin(),   unit(),        number(), easing(),
                number(), number(),      number(), pick<AutoZoomConfig::CompositionStyle>(),
                unit(),   integer(0, 60)};
    }

    TextStyle textStyle() {
        return {text(),   number(), pick<TextStyle::FontWeight>(),  color(), color(),
                number(), number(), StrokeStyle{number(), color()}, shadow()};
    }

    CaptionsTrack captions() {
        CaptionsTrack t;
        t.captions = list<Caption>(4, [&] {
            Caption c;
            c.id = uuid();
            c.time = time();
            c.duration = time();
            c.text = text();
            c.words = maybe<std::vector<CaptionWord>>([&] {
                return list<CaptionWord>(3, [&] { return CaptionWord{time(), time(), text()}; });
            });
            return c;
        });
        t.style = {number(),
                   pick<TextStyle::FontWeight>(),
                   color(),
                   color(),
                   pick<CaptionPosition>(),
                   unit(),
                   coin(),
                   color()};
        return t;
    }

    Clip clip(int zoomKeyframes) {
        Clip c;
        c.id = uuid();
        c.name = text();
        c.trackIndex = integer(0, 3);
        c.sourceVideoPath = QStringLiteral("media/clip-%1.mov").arg(integer(0, 99));
        c.sourceAudioPath = maybe<QString>([&] { return text(); });
        c.sourceCursorPath = maybe<QString>([&] { return text(); });
        c.sourceEventsPath = maybe<QString>([&] { return text(); });
        c.sourceCameraPath = maybe<QString>([&] { return text(); });
        c.sourceIn = time();
        c.sourceOut = time();
        c.timelineStart = time();
        c.sourceSize = Size{double(integer(1, 7680)), double(integer(1, 4320))};
        c.speed = number();
        c.background = background();
        c.frame = frame();
        c.cursor = cursor();
        c.camera = {coin(),   point(),
                    unit(),   pick<CameraOverlay::Shape>(),
                    number(), color(),
                    shadow(), text(),
                    coin(),   pick<CameraOverlay::BackgroundRemovalMode>()};
        c.cameraEnabledTrack =
            track<double>(m_fill ? integer(0, 3) : 0, [&] { return double(integer(0, 1)); });
        c.zoomTrack = track<NormalizedRect>(zoomKeyframes, [&] { return rect(); });
        c.autoZoom = autoZoom();
        c.audio = {number(), number(), coin(), coin()};
        c.textOverlays = list<TextOverlay>(3, [&] {
            return TextOverlay{uuid(),
                               text(),
                               range(),
                               textStyle(),
                               pick<TextOverlay::Position>(),
                               pick<TextOverlay::Animation>()};
        });
        c.captions = maybe<CaptionsTrack>([&] { return captions(); });
        c.speedRamp = track<double>(m_fill ? integer(0, 3) : 0, [&] { return number(); });
        c.transitionIn = maybe<Transition>([&] {
            return Transition{pick<TransitionKind>(), time(), easing()};
        });
        c.colorGrade = {number(),
                        number(),
                        number(),
                        number(),
                        number(),
                        number(),
                        number(),
                        number(),
                        maybe<QString>([&] { return text(); }),
                        maybe<QByteArray>([&] { return blob(); })};
        if (m_fill)
            for (int i = integer(0, 3); i > 0; --i)
                c.animations.tracks[pick<AnimatablePropertyID>()] =
                    track<double>(integer(0, 3), [&] { return number(); });
        c.imageOverlays = list<ImageOverlay>(2, [&] {
            return ImageOverlay{uuid(), range(), point(),  number(), number(),
                                unit(), blob(),  number(), shadow()};
        });
        c.motionBlur = {number(), number(), number()};
        c.showKeystrokes = coin();
        c.cameraLayout = pick<CameraLayout>();
        c.depthOfField = {coin(), unit(), number(), number()};
        c.chromaticAberration = {coin(), number(), coin()};
        c.dynamicVignette = {coin(), unit(), unit(), coin()};
        c.filmLook = {coin(), unit(), number(), unit(), unit()};
        c.cursorTrail = {coin(), integer(0, 100), number(), color(), coin(), coin()};
        c.spotlight = {coin(), unit(), unit(), unit(), coin()};
        c.annotations = list<Annotation>(3, [&] {
            return Annotation{uuid(),
                              pick<Annotation::AnnotationKind>(),
                              range(),
                              point(),
                              maybe<NormalizedPoint>([&] { return point(); }),
                              color(),
                              number(),
                              number(),
                              pick<Annotation::AnnotationAnimation>()};
        });
        return c;
    }

private:
    std::mt19937_64 m_rng;
    bool m_fill;
};

} // namespace

Project randomProject(std::uint64_t seed, const RandomProjectOptions& options) {
    Gen g(seed, options.fillOptionals);
    Project p;
    p.schemaVersion = g.integer(0, 1);
    p.id = g.uuid();
    p.name = g.text();
    p.createdAt = QDateTime::fromSecsSinceEpoch(g.integer(0, 2'000'000'000), Qt::UTC);
    p.modifiedAt = QDateTime::fromSecsSinceEpoch(g.integer(0, 2'000'000'000), Qt::UTC);
    p.canvasSize = Size{double(g.integer(16, 7680)), double(g.integer(16, 4320))};
    p.canvasBackground = g.color();
    p.frameRate = g.integer(1, 240);
    p.timeline.tracks.clear();
    for (int i = g.integer(0, 5); i > 0; --i)
        p.timeline.tracks.push_back(Timeline::Track{g.uuid(), g.text(), g.pick<Timeline::TrackKind>(),
                                                    g.number(), g.coin(), g.coin(), g.coin()});
    for (int i = 0; i < options.clips; ++i)
        p.timeline.clips.push_back(g.clip(options.zoomKeyframesPerClip));
    p.defaultBackground = g.background();
    p.defaultFrame = g.frame();
    p.defaultCursor = g.cursor();
    p.defaultAutoZoom = g.autoZoom();
    p.notes = g.text();
    return p;
}

} // namespace orvane::test
