#include "InspectorControls.h"

#include "InspectorEdits.h"
#include "project/Json.h"

#include <QRegularExpression>

#include <cmath>

namespace orvane {

namespace {

using Read = std::function<std::optional<double>(const Clip&, int)>;
using Write = std::function<bool(Clip&, int, double)>;

// A plain double field of the clip, always present.
template <typename Field>
std::pair<Read, Write> field(Field field) {
    return {[field](const Clip& c, int) -> std::optional<double> { return field(const_cast<Clip&>(c)); },
            [field](Clip& c, int, double v) {
                field(c) = v;
                return true;
            }};
}

// A field of the image overlay at the row's index.
template <typename Field>
std::pair<Read, Write> overlayField(Field field) {
    return {[field](const Clip& c, int i) -> std::optional<double> {
                if (i < 0 || std::size_t(i) >= c.imageOverlays.size())
                    return std::nullopt;
                return field(const_cast<ImageOverlay&>(c.imageOverlays[std::size_t(i)]));
            },
            [field](Clip& c, int i, double v) {
                if (i < 0 || std::size_t(i) >= c.imageOverlays.size())
                    return false;
                field(c.imageOverlays[std::size_t(i)]) = v;
                return true;
            }};
}

std::function<QString(double)> unit(SliderUnit u) {
    return [u](double v) {
        return formatSliderValue(u, v);
    };
}

std::function<QString(double)> format(const char* pattern, const char* suffix = "") {
    return [pattern, suffix](double v) {
        return QString::asprintf(pattern, v) + QString::fromUtf8(suffix);
    };
}

QString signedTwoPlaces(double v) {
    return v < 0 ? QString::asprintf("%.2f", v) : QString::asprintf("+%.2f", v);
}

InspectorSlider slider(InspectorTab tab, const char* labelKey, const char* label, const char* keyPath,
                       double minimum, double maximum, std::function<QString(double)> display,
                       std::pair<Read, Write> access, const char* undoName = nullptr,
                       const char* undoKey = nullptr) {
    InspectorSlider s;
    s.tab = tab;
    s.labelKey = QString::fromLatin1(labelKey);
    s.label = QString::fromUtf8(label);
    s.keyPath = QString::fromLatin1(keyPath);
    s.minimum = minimum;
    s.maximum = maximum;
    s.display = std::move(display);
    if (undoName)
        s.undoName = QString::fromLatin1(undoName);
    if (undoKey)
        s.undoKey = QString::fromLatin1(undoKey);
    s.read = std::move(access.first);
    s.write = std::move(access.second);
    return s;
}

InspectorToggle toggle(InspectorTab tab, const char* labelKey, const char* label, const char* keyPath,
                       std::function<bool&(Clip&)> field) {
    return {tab,
            QString::fromLatin1(labelKey),
            QString::fromUtf8(label),
            QString::fromLatin1(keyPath),
            [field](const Clip& c) { return field(const_cast<Clip&>(c)); },
            [field](Clip& c, bool on) {
                field(c) = on;
            }};
}

template <typename E>
InspectorChoice enumChoice(InspectorTab tab, const char* labelKey, const char* label, const char* keyPath,
                           QStringList labels, std::function<E&(Clip&)> field) {
    InspectorChoice choice;
    choice.tab = tab;
    choice.labelKey = QString::fromLatin1(labelKey);
    choice.label = QString::fromUtf8(label);
    choice.keyPath = QString::fromLatin1(keyPath);
    std::vector<E> cases;
    for (const auto& entry : enumEntries(E{})) {
        choice.values << QString::fromLatin1(entry.name.data(), qsizetype(entry.name.size()));
        cases.push_back(entry.value);
    }
    choice.labels = std::move(labels);
    choice.read = [field, cases](const Clip& c) {
        const E value = field(const_cast<Clip&>(c));
        const auto it = std::find(cases.begin(), cases.end(), value);
        return it == cases.end() ? -1 : int(it - cases.begin());
    };
    choice.write = [field, cases](Clip& c, int index) {
        if (index >= 0 && std::size_t(index) < cases.size())
            field(c) = cases[std::size_t(index)];
    };
    return choice;
}

std::vector<InspectorSlider> makeSliders() {
    using T = InspectorTab;
    using U = SliderUnit;
    std::vector<InspectorSlider> s;
    s.push_back(slider(T::background, "inspector.bg.blur.radius", "Blur Radius",
                       "background.blurredExtension.blurRadius", 10, 160, unit(U::points),
                       {[](const Clip& c, int) -> std::optional<double> {
                            if (const auto* blur =
                                    std::get_if<BackgroundStyle::BlurredExtension>(&c.background.value))
                                return blur->blurRadius;
                            return std::nullopt;
                        },
                        [](Clip& c, int, double v) {
                            c.background = BackgroundStyle::blurredExtension(v);
                            return true;
                        }},
                       "Change Blur Radius", "undo.changeBlurRadius"));
    s.push_back(slider(T::frame, "inspector.frame.padding", "Padding", "frame.paddingFraction", 0, 0.25,
                       unit(U::percent), field([](Clip& c) -> double& { return c.frame.paddingFraction; }),
                       "Change Padding", "undo.changePadding"));
    s.push_back(slider(T::frame, "inspector.frame.cornerRadius", "Corner Radius", "frame.cornerRadius", 0, 64,
                       unit(U::points), field([](Clip& c) -> double& { return c.frame.cornerRadius; }),
                       "Change Corner Radius", "undo.changeCornerRadius"));
    s.push_back(slider(T::frame, "inspector.frame.shadowStrength", "Shadow Strength", "frame.shadow.opacity",
                       0, 1, unit(U::percent),
                       field([](Clip& c) -> double& { return c.frame.shadow.opacity; }),
                       "Change Shadow Strength", "undo.changeShadowStrength"));
    s.push_back(slider(T::frame, "inspector.frame.shadowRadius", "Shadow Radius", "frame.shadow.radius", 0,
                       120, unit(U::points), field([](Clip& c) -> double& { return c.frame.shadow.radius; }),
                       "Change Shadow Radius", "undo.changeShadowRadius"));
    s.push_back(slider(T::cursor, "inspector.cursor.scale", "Cursor Size", "cursor.scale", 0.5, 3,
                       unit(U::multiplier), field([](Clip& c) -> double& { return c.cursor.scale; }),
                       "Change Cursor Scale", "undo.changeCursorScale"));
    s.push_back(slider(T::cursor, "inspector.cursor.smoothing", "Smoothing", "cursor.smoothing", 0, 1,
                       unit(U::percent), field([](Clip& c) -> double& { return c.cursor.smoothing; }),
                       "Change Cursor Smoothing", "undo.changeCursorSmoothing"));
    s.push_back(slider(T::zoom, "inspector.zoom.level", "Zoom Level", "autoZoom.zoomLevel", 1.2, 3,
                       unit(U::multiplier), field([](Clip& c) -> double& { return c.autoZoom.zoomLevel; }),
                       "Change Zoom Level", "undo.changeZoomLevel"));
    s.push_back(slider(T::zoom, "inspector.zoom.duration", "Zoom Duration", "autoZoom.zoomInDuration", 0.2, 2,
                       unit(U::seconds), field([](Clip& c) -> double& { return c.autoZoom.zoomInDuration; }),
                       "Change Zoom Duration", "undo.changeZoomDuration"));
    s.push_back(slider(T::zoom, "inspector.zoom.minHold", "Minimum Hold", "autoZoom.minHoldDuration", 0.5, 4,
                       unit(U::seconds), field([](Clip& c) -> double& { return c.autoZoom.minHoldDuration; }),
                       "Change Zoom Min Hold", "undo.changeZoomMinHold"));
    s.push_back(slider(T::camera, "inspector.camera.size", "Size", "camera.sizeFraction", 0.08, 0.45,
                       unit(U::percent), field([](Clip& c) -> double& { return c.camera.sizeFraction; }),
                       "Change Camera Size", "undo.changeCameraSize"));
    s.push_back(slider(T::camera, "inspector.camera.border", "Border", "camera.borderWidth", 0, 12,
                       unit(U::points), field([](Clip& c) -> double& { return c.camera.borderWidth; }),
                       "Change Camera Border", "undo.changeCameraBorder"));

    s.push_back(slider(T::color, "Exposure", "Exposure", "colorGrade.exposure", -2, 2, format("%+.2f", " EV"),
                       field([](Clip& c) -> double& { return c.colorGrade.exposure; })));
    s.push_back(slider(T::color, "Contrast", "Contrast", "colorGrade.contrast", 0, 2, format("%.2f"),
                       field([](Clip& c) -> double& { return c.colorGrade.contrast; })));
    s.push_back(slider(T::color, "Saturation", "Saturation", "colorGrade.saturation", 0, 2, format("%.2f"),
                       field([](Clip& c) -> double& { return c.colorGrade.saturation; })));
    s.push_back(slider(T::color, "Vibrance", "Vibrance", "colorGrade.vibrance", -1, 1, format("%+.2f"),
                       field([](Clip& c) -> double& { return c.colorGrade.vibrance; })));
    s.push_back(slider(
        T::color, "Temperature", "Temperature", "colorGrade.temperature", -1, 1,
        [](double v) { return QString::number(std::lround(6500 - 2500 * v)) + QStringLiteral(" K"); },
        field([](Clip& c) -> double& { return c.colorGrade.temperature; })));
    s.push_back(slider(T::color, "Tint", "Tint", "colorGrade.tint", -1, 1, format("%+.2f"),
                       field([](Clip& c) -> double& { return c.colorGrade.tint; })));
    s.push_back(slider(T::color, "Highlights", "Highlights", "colorGrade.highlights", -1, 1, format("%+.2f"),
                       field([](Clip& c) -> double& { return c.colorGrade.highlights; })));
    s.push_back(slider(T::color, "Shadows", "Shadows", "colorGrade.shadows", -1, 1, format("%+.2f"),
                       field([](Clip& c) -> double& { return c.colorGrade.shadows; })));

    s.push_back(slider(T::transition, "Transition duration", "Transition duration",
                       "transitionIn.duration.seconds", 0.1, 2, format("%.2f", " seconds"),
                       {[](const Clip& c, int) -> std::optional<double> {
                            if (!c.transitionIn)
                                return std::nullopt;
                            return c.transitionIn->duration.seconds;
                        },
                        [](Clip& c, int, double v) {
                            if (!c.transitionIn)
                                return false;
                            c.transitionIn->duration = ProjectTime(v);
                            return true;
                        }}));

    s.push_back(slider(T::perspective, "inspector.perspective.tiltX", "Tilt Forward / Back",
                       "frame.perspective.tiltX", -1, 1, signedTwoPlaces,
                       field([](Clip& c) -> double& { return c.frame.perspective.tiltX; })));
    s.push_back(slider(T::perspective, "inspector.perspective.tiltY", "Tilt Left / Right",
                       "frame.perspective.tiltY", -1, 1, signedTwoPlaces,
                       field([](Clip& c) -> double& { return c.frame.perspective.tiltY; })));
    s.push_back(slider(T::perspective, "inspector.perspective.depth", "Depth", "frame.perspective.depth", 0,
                       1, format("%.2f"),
                       field([](Clip& c) -> double& { return c.frame.perspective.depth; })));

    s.push_back(slider(T::speed, "Speed", "Speed", "speed", 0.25, 4, unit(U::multiplier),
                       field([](Clip& c) -> double& { return c.speed; }), "Change Speed"));

    s.push_back(slider(T::stickers, "Position X", "Position X", "imageOverlays.#.position.x", 0, 1,
                       unit(U::percent),
                       overlayField([](ImageOverlay& o) -> double& { return o.position.x; })));
    s.push_back(slider(T::stickers, "Position Y", "Position Y", "imageOverlays.#.position.y", 0, 1,
                       unit(U::percent),
                       overlayField([](ImageOverlay& o) -> double& { return o.position.y; })));
    s.push_back(slider(T::stickers, "Scale", "Scale", "imageOverlays.#.scale", 0.01, 2, unit(U::multiplier),
                       overlayField([](ImageOverlay& o) -> double& { return o.scale; })));
    s.push_back(slider(T::stickers, "Rotation", "Rotation", "imageOverlays.#.rotation", -360, 360,
                       unit(U::raw), overlayField([](ImageOverlay& o) -> double& { return o.rotation; })));
    s.push_back(slider(T::stickers, "Opacity", "Opacity", "imageOverlays.#.opacity", 0, 1, unit(U::percent),
                       overlayField([](ImageOverlay& o) -> double& { return o.opacity; })));
    s.push_back(slider(T::stickers, "Corner Radius", "Corner Radius", "imageOverlays.#.cornerRadius", 0, 100,
                       unit(U::points),
                       overlayField([](ImageOverlay& o) -> double& { return o.cornerRadius; })));

    s.push_back(slider(T::audio, "inspector.audio.systemAudio", "System Audio", "audio.systemAudioVolume", 0,
                       1.5, unit(U::percentBoost),
                       field([](Clip& c) -> double& { return c.audio.systemAudioVolume; }),
                       "Change System Audio Volume", "undo.changeSystemAudio"));
    s.push_back(slider(T::audio, "inspector.audio.microphone", "Microphone", "audio.micVolume", 0, 1.5,
                       unit(U::percentBoost), field([](Clip& c) -> double& { return c.audio.micVolume; }),
                       "Change Microphone Volume", "undo.changeMicVolume"));
    return s;
}

std::vector<InspectorToggle> makeToggles() {
    using T = InspectorTab;
    return {
        toggle(T::cursor, "inspector.cursor.show", "Show Cursor", "cursor.isVisible",
               [](Clip& c) -> bool& { return c.cursor.isVisible; }),
        toggle(T::cursor, "inspector.cursor.clickRipple", "Click Ripple", "cursor.clickRipple.isEnabled",
               [](Clip& c) -> bool& { return c.cursor.clickRipple.isEnabled; }),
        toggle(T::cursor, "inspector.cursor.spotlight", "Spotlight", "cursor.spotlight.isEnabled",
               [](Clip& c) -> bool& { return c.cursor.spotlight.isEnabled; }),
        toggle(T::zoom, "inspector.zoom.enable", "Auto Zoom", "autoZoom.isEnabled",
               [](Clip& c) -> bool& { return c.autoZoom.isEnabled; }),
        toggle(T::camera, "inspector.camera.enable", "Show Camera", "camera.isEnabled",
               [](Clip& c) -> bool& { return c.camera.isEnabled; }),
        toggle(T::camera, "inspector.camera.mirror", "Mirror", "camera.mirror",
               [](Clip& c) -> bool& { return c.camera.mirror; }),
        toggle(T::perspective, "inspector.perspective.enabled", "Enable 3D Tilt",
               "frame.perspective.isEnabled", [](Clip& c) -> bool& { return c.frame.perspective.isEnabled; }),
        toggle(T::audio, "inspector.audio.ducking", "Duck System Audio Under Voice", "audio.ducking",
               [](Clip& c) -> bool& { return c.audio.ducking; }),
        toggle(T::audio, "inspector.audio.noiseSuppression", "Noise Suppression", "audio.noiseSuppression",
               [](Clip& c) -> bool& { return c.audio.noiseSuppression; }),
    };
}

std::vector<InspectorChoice> makeChoices() {
    using T = InspectorTab;
    std::vector<InspectorChoice> choices;

    InspectorChoice background;
    background.tab = T::background;
    background.labelKey = QStringLiteral("inspector.bg.kind");
    background.label = QStringLiteral("Background");
    background.keyPath = QStringLiteral("background");
    background.values = {QStringLiteral("gradient"), QStringLiteral("solid"), QStringLiteral("wallpaper"),
                         QStringLiteral("customImage"), QStringLiteral("blurredExtension")};
    background.labels = {QStringLiteral("Gradient"), QStringLiteral("Solid"), QStringLiteral("Wallpaper"),
                         QStringLiteral("Image"), QStringLiteral("Blur")};
    background.labelKeys = {
        QStringLiteral("inspector.bg.kind.gradient"), QStringLiteral("inspector.bg.kind.solid"),
        QStringLiteral("inspector.bg.kind.wallpaper"), QStringLiteral("inspector.bg.kind.image"),
        QStringLiteral("inspector.bg.kind.blur")};
    background.read = [](const Clip& c) {
        return int(InspectorEdits::backgroundKind(c.background));
    };
    background.write = [](Clip& c, int index) {
        if (index >= 0 && index < 5)
            InspectorEdits::switchBackgroundKind(c, InspectorEdits::BackgroundKind(index), u"#000000");
    };
    choices.push_back(std::move(background));

    choices.push_back(enumChoice<AutoZoomConfig::CompositionStyle>(
        T::zoom, "inspector.zoom.composition", "Composition", "autoZoom.composition",
        {QStringLiteral("Center on Cursor"), QStringLiteral("Rule of Thirds"),
         QStringLiteral("Follow with Lead")},
        [](Clip& c) -> AutoZoomConfig::CompositionStyle& { return c.autoZoom.composition; }));
    choices.push_back(
        enumChoice<CameraOverlay::Shape>(T::camera, "inspector.camera.shape", "Shape", "camera.shape",
                                         {QStringLiteral("Circle"), QStringLiteral("Square"),
                                          QStringLiteral("Rounded"), QStringLiteral("Hexagon")},
                                         [](Clip& c) -> CameraOverlay::Shape& { return c.camera.shape; }));

    InspectorChoice transition;
    transition.tab = T::transition;
    transition.labelKey = QStringLiteral("Transition In");
    transition.label = QStringLiteral("Transition In");
    transition.keyPath = QStringLiteral("transitionIn.kind");
    std::vector<TransitionKind> kinds;
    for (const auto& entry : enumEntries(TransitionKind{})) {
        transition.values << QString::fromLatin1(entry.name.data(), qsizetype(entry.name.size()));
        transition.labels << displayName(entry.value);
        kinds.push_back(entry.value);
    }
    transition.read = [kinds](const Clip& c) {
        const TransitionKind kind = c.transitionIn ? c.transitionIn->kind : TransitionKind::none;
        return int(std::find(kinds.begin(), kinds.end(), kind) - kinds.begin());
    };
    transition.write = [kinds](Clip& c, int index) {
        if (index >= 0 && std::size_t(index) < kinds.size())
            InspectorEdits::chooseTransition(c, kinds[std::size_t(index)]);
    };
    choices.push_back(std::move(transition));

    InspectorChoice easing;
    easing.tab = T::transition;
    easing.labelKey = QStringLiteral("Easing");
    easing.label = QStringLiteral("Easing");
    easing.keyPath = QStringLiteral("transitionIn.easing");
    for (const auto& choice : InspectorEdits::transitionEasings()) {
        const auto name = enumName(choice.curve.kind);
        easing.values << QString::fromLatin1(name.data(), qsizetype(name.size()));
        easing.labels << QString::fromLatin1(choice.label);
    }
    easing.read = [](const Clip& c) {
        const auto index = InspectorEdits::transitionEasingIndex(c);
        return index ? int(*index) : -1;
    };
    easing.write = [](Clip& c, int index) {
        if (index >= 0)
            InspectorEdits::setTransitionEasing(c, std::size_t(index));
    };
    choices.push_back(std::move(easing));
    return choices;
}

template <typename Control>
std::vector<const Control*> ofTab(const std::vector<Control>& all, InspectorTab tab) {
    std::vector<const Control*> out;
    for (const Control& control : all)
        if (control.tab == tab)
            out.push_back(&control);
    return out;
}

QString rangeText(const InspectorSlider& s) {
    return QStringLiteral("%1...%2").arg(s.minimum).arg(s.maximum);
}

std::optional<double> parseNumber(const QString& text) {
    bool ok = false;
    const double value = text.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<bool> parseBool(const QString& text) {
    const QString t = text.trimmed().toLower();
    if (t == u"true" || t == u"on" || t == u"yes" || t == u"1")
        return true;
    if (t == u"false" || t == u"off" || t == u"no" || t == u"0")
        return false;
    return std::nullopt;
}

} // namespace

const std::array<InspectorTabInfo, 14>& inspectorTabs() {
    static const std::array<InspectorTabInfo, 14> tabs{{
        {InspectorTab::background, "Background", "inspector.tab.background", "paintpalette"},
        {InspectorTab::frame, "Frame", "inspector.tab.frame", "square.dashed"},
        {InspectorTab::cursor, "Cursor", "inspector.tab.cursor", "cursorarrow.click"},
        {InspectorTab::zoom, "Zoom", "inspector.tab.zoom", "plus.magnifyingglass"},
        {InspectorTab::camera, "Camera", "inspector.tab.camera", "camera"},
        {InspectorTab::color, "Color", "inspector.tab.color", "paintbrush"},
        {InspectorTab::transition, "Transition", "inspector.tab.transition", "arrow.triangle.2.circlepath"},
        {InspectorTab::text, "Text", "inspector.tab.text", "textformat"},
        {InspectorTab::captions, "Captions", "inspector.tab.captions", "captions.bubble"},
        {InspectorTab::perspective, "Perspective", "inspector.tab.perspective", "cube.transparent"},
        {InspectorTab::speed, "Speed", "inspector.tab.speed", "gauge.with.needle"},
        {InspectorTab::keyframes, "Keyframes", "inspector.tab.keyframes", "diamond"},
        {InspectorTab::stickers, "Stickers", "inspector.tab.stickers", "photo.on.rectangle"},
        {InspectorTab::audio, "Audio", "inspector.tab.audio", "waveform"},
    }};
    return tabs;
}

const InspectorTabInfo& tabInfo(InspectorTab tab) {
    return inspectorTabs()[std::size_t(tab)];
}

QString formatSliderValue(SliderUnit unit, double v) {
    switch (unit) {
    case SliderUnit::percent:
    case SliderUnit::percentBoost:
        return QString::number(std::lround(100 * v)) + u'%';
    case SliderUnit::points:
        return QString::number(std::lround(v)) + QStringLiteral(" pt");
    case SliderUnit::multiplier:
        return QString::asprintf("%.2g", v) + QChar(0x00D7);
    case SliderUnit::seconds:
        return v < 1 ? QString::asprintf("%.2g s", v) : QString::asprintf("%.1f s", v);
    case SliderUnit::raw:
        return QString::asprintf("%.2f", v);
    }
    return {};
}

const std::vector<InspectorSlider>& inspectorSliders() {
    static const std::vector<InspectorSlider> sliders = makeSliders();
    return sliders;
}

const std::vector<InspectorToggle>& inspectorToggles() {
    static const std::vector<InspectorToggle> toggles = makeToggles();
    return toggles;
}

const std::vector<InspectorChoice>& inspectorChoices() {
    static const std::vector<InspectorChoice> choices = makeChoices();
    return choices;
}

std::vector<const InspectorSlider*> slidersOf(InspectorTab tab) {
    return ofTab(inspectorSliders(), tab);
}

std::vector<const InspectorToggle*> togglesOf(InspectorTab tab) {
    return ofTab(inspectorToggles(), tab);
}

std::vector<const InspectorChoice*> choicesOf(InspectorTab tab) {
    return ofTab(inspectorChoices(), tab);
}

const InspectorSlider* sliderByLabelKey(const QString& labelKey) {
    for (const InspectorSlider& s : inspectorSliders())
        if (s.labelKey == labelKey)
            return &s;
    return nullptr;
}

QStringList inspectorKeyPaths() {
    QStringList paths;
    for (const InspectorSlider& s : inspectorSliders())
        paths << s.keyPath;
    for (const InspectorToggle& t : inspectorToggles())
        paths << t.keyPath;
    for (const InspectorChoice& c : inspectorChoices())
        paths << c.keyPath;
    paths << QStringLiteral("background.solid") << QStringLiteral("background.gradient")
          << QStringLiteral("camera.position");
    return paths;
}

tl::expected<InspectorWrite, QString> writeInspectorField(Clip& clip, const QString& keyPath,
                                                          const QString& valueText) {
    // An overlay's index stands where the catalogue has "#".
    static const QRegularExpression indexed(QStringLiteral("^imageOverlays\\.(\\d+)\\.(.+)$"));
    QString pattern = keyPath;
    int index = -1;
    if (const auto match = indexed.match(keyPath); match.hasMatch()) {
        index = match.captured(1).toInt();
        pattern = QStringLiteral("imageOverlays.#.") + match.captured(2);
    }

    for (const InspectorSlider& s : inspectorSliders()) {
        if (s.keyPath != pattern)
            continue;
        const auto value = parseNumber(valueText);
        if (!value)
            return tl::unexpected(QStringLiteral("%1: \"%2\" is not a number; it takes %3")
                                      .arg(keyPath, valueText, rangeText(s)));
        if (s.isPerOverlay() && (index < 0 || std::size_t(index) >= clip.imageOverlays.size()))
            return tl::unexpected(QStringLiteral("%1: the clip has no image overlay %2 (it has %3)")
                                      .arg(keyPath)
                                      .arg(index)
                                      .arg(clip.imageOverlays.size()));
        const double v = s.clamped(*value);
        if (!s.write(clip, index, v))
            return tl::unexpected(QStringLiteral("%1: the clip has no transition to change").arg(keyPath));
        return InspectorWrite{keyPath, s.display(v), s.undoName, v != *value};
    }
    for (const InspectorToggle& t : inspectorToggles()) {
        if (t.keyPath != keyPath)
            continue;
        const auto on = parseBool(valueText);
        if (!on)
            return tl::unexpected(QStringLiteral("%1: \"%2\" is not a switch value; it takes true or false")
                                      .arg(keyPath, valueText));
        t.write(clip, *on);
        return InspectorWrite{keyPath, *on ? QStringLiteral("true") : QStringLiteral("false"), std::nullopt,
                              false};
    }
    for (const InspectorChoice& c : inspectorChoices()) {
        if (c.keyPath != keyPath)
            continue;
        const int i = int(c.values.indexOf(valueText.trimmed()));
        if (i < 0)
            return tl::unexpected(QStringLiteral("%1: \"%2\" is not one of %3")
                                      .arg(keyPath, valueText, c.values.join(QStringLiteral(", "))));
        if (keyPath == u"transitionIn.easing" && !clip.transitionIn)
            return tl::unexpected(QStringLiteral("%1: the clip has no transition to change").arg(keyPath));
        c.write(clip, i);
        return InspectorWrite{keyPath, c.values[i], std::nullopt, false};
    }
    if (keyPath == u"background.solid") {
        auto color = RGBAColor::fromHex(valueText.trimmed());
        if (!color)
            return tl::unexpected(
                QStringLiteral("%1: \"%2\" is not a colour; it takes #RRGGBB").arg(keyPath, valueText));
        color->a = 1; // the colour well has no opacity
        clip.background = BackgroundStyle::solid(*color);
        return InspectorWrite{keyPath, valueText.trimmed(), std::nullopt, false};
    }
    if (keyPath == u"background.gradient") {
        const auto& presets = BackgroundStyle::presetGradients();
        bool isNumber = false;
        int i = valueText.trimmed().toInt(&isNumber);
        if (!isNumber) {
            i = -1;
            for (std::size_t p = 0; p < presets.size(); ++p)
                if (presets[p].name.compare(valueText.trimmed(), Qt::CaseInsensitive) == 0)
                    i = int(p);
        }
        if (i < 0 || std::size_t(i) >= presets.size()) {
            QStringList names;
            for (const auto& preset : presets)
                names << preset.name;
            return tl::unexpected(QStringLiteral("%1: \"%2\" is not a preset; it takes 0...%3 or one of %4")
                                      .arg(keyPath, valueText)
                                      .arg(presets.size() - 1)
                                      .arg(names.join(QStringLiteral(", "))));
        }
        InspectorEdits::selectGradient(clip, std::size_t(i));
        return InspectorWrite{keyPath, presets[std::size_t(i)].name, std::nullopt, false};
    }
    if (keyPath == u"camera.position") {
        QStringList names;
        for (const auto& cell : InspectorEdits::cameraGrid()) {
            if (valueText.trimmed() == QLatin1String(cell.name)) {
                clip.camera.position = cell.position;
                return InspectorWrite{keyPath, QString::fromLatin1(cell.name), std::nullopt, false};
            }
            names << QString::fromLatin1(cell.name);
        }
        return tl::unexpected(QStringLiteral("%1: \"%2\" is not one of %3")
                                  .arg(keyPath, valueText, names.join(QStringLiteral(", "))));
    }
    return tl::unexpected(QStringLiteral("%1: no such field; the inspector writes %2")
                              .arg(keyPath, inspectorKeyPaths().join(QStringLiteral(", "))));
}

} // namespace orvane
