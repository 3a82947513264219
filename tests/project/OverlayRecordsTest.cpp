#include "common/JsonTestSupport.h"
#include "project/Annotation.h"
#include "project/ChromaticAberrationConfig.h"
#include "project/ColorGrade.h"
#include "project/ContentAwareZoomConfig.h"
#include "project/CursorTrailConfig.h"
#include "project/DepthOfFieldConfig.h"
#include "project/DynamicVignetteConfig.h"
#include "project/FilmLookConfig.h"
#include "project/ImageOverlay.h"
#include "project/Json.h"
#include "project/KeystrokeOverlayStyle.h"
#include "project/MotionBlurConfig.h"
#include "project/SceneDetectionConfig.h"
#include "project/SpotlightConfig.h"
#include "project/TextOverlay.h"
#include "project/TextStyle.h"
#include "project/Transition.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

using namespace orvane;

namespace {

using test::jsonRoundTrip;

template <class T>
T decode(const JsonObject& object) {
    return test::decodeJsonValue<T>(object);
}

JsonObject parseObject(const char* json) {
    return readJsonDocument(QByteArray(json)).toObject();
}

// The error text of decoding `object` as the value of a key "v", or "no error".
template <class T>
std::string decodeError(const JsonObject& object) {
    return test::jsonDecodeError<T>(object, "v");
}

template <class E>
std::vector<std::string> caseNames() {
    std::vector<std::string> names;
    for (const auto& entry : enumEntries(E{}))
        names.emplace_back(entry.name);
    return names;
}

// Every case survives the trip through JSON text as its own name.
template <class E>
void expectEveryCaseRoundTrips() {
    for (const auto& entry : enumEntries(E{})) {
        EXPECT_EQ(jsonRoundTrip(entry.value), entry.value) << entry.name;
        EXPECT_EQ(toJson(entry.value).toString().toStdString(), entry.name);
    }
}

// `json` is the document of `expected`, written by hand: it decodes to `expected`, `expected` encodes to
// exactly its keys, and leaving out any key but `optionalKeys` fails the decoding with that key's path.
template <class T>
void expectDocument(const char* json, const T& expected, const std::vector<QString>& optionalKeys = {}) {
    const JsonObject document = parseObject(json);
    ASSERT_FALSE(document.isEmpty()) << json;
    EXPECT_EQ(decode<T>(document), expected) << json;
    EXPECT_EQ(toJson(expected).toObject(), document) << json;
    for (const QString& key : document.keys()) {
        JsonObject partial = document;
        partial.remove(key);
        const bool optional = std::find(optionalKeys.begin(), optionalKeys.end(), key) != optionalKeys.end();
        const std::string expectedError =
            optional ? "no error" : "v." + key.toStdString() + ": required key is missing";
        EXPECT_EQ(decodeError<T>(partial), expectedError) << json;
    }
}

} // namespace

TEST(TextStyle, PresetsDifferOnlyInTheirTableColumns) {
    struct Row {
        TextStyle style;
        double fontSize;
        TextStyle::FontWeight weight;
        RGBAColor plate;
        double padding;
        double cornerRadius;
        ShadowStyle shadow;
    };
    using W = TextStyle::FontWeight;
    const Row rows[] = {
        {TextStyle::defaults(), 64, W::bold, RGBAColor{0, 0, 0, 0}, 24, 12, ShadowStyle::subtle()},
        {TextStyle::titleCard(), 96, W::heavy, RGBAColor{0, 0, 0, 0.55}, 32, 16, ShadowStyle::premium()},
        {TextStyle::lowerThird(), 42, W::semibold, RGBAColor{0.7, 0.38, 1, 0.85}, 18, 8,
         ShadowStyle::subtle()},
        {TextStyle::caption(), 36, W::semibold, RGBAColor{0, 0, 0, 0.7}, 14, 6, ShadowStyle::subtle()},
    };
    for (const Row& row : rows) {
        const TextStyle expected{QStringLiteral("SF Pro Display"),
                                 row.fontSize,
                                 row.weight,
                                 RGBAColor::white(),
                                 row.plate,
                                 row.padding,
                                 row.cornerRadius,
                                 StrokeStyle{0, RGBAColor{0, 0, 0, 1}},
                                 row.shadow};
        EXPECT_EQ(row.style, expected) << row.fontSize;
        EXPECT_EQ(jsonRoundTrip(row.style), row.style);
    }
    EXPECT_EQ(TextStyle(), TextStyle::defaults());
}

TEST(TextStyle, DocumentFormAndRequiredKeys) {
    expectDocument(R"({"width": 2, "color": {"r": 1, "g": 0, "b": 0, "a": 1}})",
                   StrokeStyle{2, RGBAColor{1, 0, 0, 1}});
    TextStyle style = TextStyle::lowerThird();
    style.fontFamily = QStringLiteral("Inter");
    style.fontWeight = TextStyle::FontWeight::ultraLight;
    style.stroke = StrokeStyle{1.5, RGBAColor{0.2, 0.4, 0.6, 0.8}};
    expectDocument(R"({
        "fontFamily": "Inter", "fontSize": 42, "fontWeight": "ultraLight",
        "color": {"r": 1, "g": 1, "b": 1, "a": 1},
        "backgroundColor": {"r": 0.7, "g": 0.38, "b": 1, "a": 0.85},
        "backgroundPadding": 18, "backgroundCornerRadius": 8,
        "stroke": {"width": 1.5, "color": {"r": 0.2, "g": 0.4, "b": 0.6, "a": 0.8}},
        "shadow": {"color": {"r": 0, "g": 0, "b": 0, "a": 1}, "radius": 20, "offsetX": 0, "offsetY": 8, "opacity": 0.25}
    })",
                   style);
}

TEST(OverlayEnums, CaseNamesInDeclaredOrderAndRoundTrips) {
    EXPECT_EQ(caseNames<TextStyle::FontWeight>(),
              (std::vector<std::string>{"ultraLight", "thin", "light", "regular", "medium", "semibold",
                                        "bold", "heavy", "black"}));
    EXPECT_EQ(
        caseNames<TextOverlay::Position>(),
        (std::vector<std::string>{"topLeft", "topCenter", "topRight", "middleLeft", "middleCenter",
                                  "middleRight", "bottomLeft", "bottomCenter", "bottomRight", "lowerThird"}));
    EXPECT_EQ(caseNames<TextOverlay::Animation>(),
              (std::vector<std::string>{"none", "fadeIn", "slideUp", "slideLeft", "zoom", "typewriter"}));
    EXPECT_EQ(caseNames<Annotation::AnnotationKind>(),
              (std::vector<std::string>{"arrow", "circle", "rectangle", "highlight", "underline"}));
    EXPECT_EQ(caseNames<Annotation::AnnotationAnimation>(),
              (std::vector<std::string>{"none", "fadeIn", "drawIn", "pulse"}));
    EXPECT_EQ(caseNames<KeystrokeOverlayStyle::KeystrokePosition>(),
              (std::vector<std::string>{"bottomCenter", "bottomLeft", "bottomRight", "topCenter"}));
    EXPECT_EQ(caseNames<TransitionKind>(),
              (std::vector<std::string>{"none", "crossDissolve", "fade", "fadeToWhite", "slideLeft",
                                        "slideRight", "slideUp", "slideDown", "wipeLeft", "wipeRight",
                                        "wipeUp", "wipeDown", "irisIn", "irisOut", "zoomIn", "zoomOut"}));

    expectEveryCaseRoundTrips<TextStyle::FontWeight>();
    expectEveryCaseRoundTrips<TextOverlay::Position>();
    expectEveryCaseRoundTrips<TextOverlay::Animation>();
    expectEveryCaseRoundTrips<Annotation::AnnotationKind>();
    expectEveryCaseRoundTrips<Annotation::AnnotationAnimation>();
    expectEveryCaseRoundTrips<KeystrokeOverlayStyle::KeystrokePosition>();
    expectEveryCaseRoundTrips<TransitionKind>();
}

TEST(TextOverlay, AnchorsKeepTheirMarginsAndLowerThirdSitsAboveTheBottomRow) {
    using P = TextOverlay::Position;
    const std::pair<P, NormalizedPoint> rows[] = {
        {P::topLeft, {0.08, 0.08}},    {P::topCenter, {0.5, 0.08}},    {P::topRight, {0.92, 0.08}},
        {P::middleLeft, {0.08, 0.5}},  {P::middleCenter, {0.5, 0.5}},  {P::middleRight, {0.92, 0.5}},
        {P::bottomLeft, {0.08, 0.92}}, {P::bottomCenter, {0.5, 0.92}}, {P::bottomRight, {0.92, 0.92}},
        {P::lowerThird, {0.08, 0.78}},
    };
    for (const auto& [position, point] : rows)
        EXPECT_EQ(anchor(position), point) << enumName(position);
    static_assert(anchor(P::lowerThird).y == 0.78);
}

TEST(TextOverlay, RoundTripsAndFailsOnUnknownCases) {
    TextOverlay overlay;
    overlay.id = QUuid::createUuid();
    overlay.text = QStringLiteral("Welcome — ünïcode ✓");
    overlay.timeRange = TimeRange{ProjectTime(0.5), ProjectTime(3.5)};
    overlay.style = TextStyle::titleCard();
    overlay.position = TextOverlay::Position::lowerThird;
    overlay.animation = TextOverlay::Animation::typewriter;
    EXPECT_EQ(jsonRoundTrip(overlay), overlay);

    JsonObject object = toJson(overlay).toObject();
    object.insert(QStringLiteral("position"), QStringLiteral("middle"));
    EXPECT_EQ(decodeError<TextOverlay>(object),
              R"(v.position: unknown case "middle" of TextOverlay.Position)");
    object = toJson(overlay).toObject();
    object.remove(QStringLiteral("animation"));
    EXPECT_EQ(decodeError<TextOverlay>(object), "v.animation: required key is missing");
    object = toJson(overlay).toObject();
    object.insert(QStringLiteral("style"), JsonObject{});
    EXPECT_EQ(decodeError<TextOverlay>(object), "v.style.fontFamily: required key is missing");
    object = toJson(overlay).toObject();
    object.insert(QStringLiteral("unknownKey"), 1);
    EXPECT_EQ(decode<TextOverlay>(object), overlay);
}

TEST(ImageOverlay, RoundTripsItsBookmarkAndRequiresEveryKey) {
    ImageOverlay overlay;
    overlay.id = QUuid(QStringLiteral("6F9619FF-8B86-D011-B42D-00C04FC964FF"));
    overlay.timeRange = TimeRange{ProjectTime(2), ProjectTime(4)};
    overlay.position = NormalizedPoint{0.25, 0.75};
    overlay.scale = 0.5;
    overlay.rotation = -15;
    overlay.opacity = 0.8;
    overlay.imageBookmark = QByteArray("\x00\x01"
                                       "file:///home/u/logo.png",
                                       25);
    overlay.cornerRadius = 12;
    overlay.shadow = ShadowStyle::dramatic();
    EXPECT_EQ(jsonRoundTrip(overlay), overlay);

    expectDocument(R"({
        "id": "6F9619FF-8B86-D011-B42D-00C04FC964FF",
        "timeRange": {"start": {"seconds": 2}, "duration": {"seconds": 4}},
        "position": {"x": 0.25, "y": 0.75}, "scale": 0.5, "rotation": -15, "opacity": 0.8,
        "imageBookmark": "AAFmaWxlOi8vL2hvbWUvdS9sb2dvLnBuZw==", "cornerRadius": 12,
        "shadow": {"color": {"r": 0, "g": 0, "b": 0, "a": 1}, "radius": 100, "offsetX": 0, "offsetY": 40, "opacity": 0.65}
    })",
                   overlay);
}

TEST(Annotation, EndPositionMayBeMissingAndStaysAbsent) {
    const char* json = R"({
        "id": "6F9619FF-8B86-D011-B42D-00C04FC964FF", "kind": "circle",
        "timeRange": {"start": {"seconds": 1}, "duration": {"seconds": 2}},
        "position": {"x": 0.4, "y": 0.6}, "color": {"r": 1, "g": 0.2, "b": 0.2, "a": 1},
        "strokeWidth": 4, "size": 0.1, "animation": "pulse"
    })";
    const Annotation annotation = decode<Annotation>(parseObject(json));
    EXPECT_FALSE(annotation.endPosition.has_value());
    EXPECT_EQ(annotation.kind, Annotation::AnnotationKind::circle);
    EXPECT_EQ(annotation.animation, Annotation::AnnotationAnimation::pulse);
    EXPECT_FALSE(toJson(annotation).toObject().contains(QStringLiteral("endPosition")));
    EXPECT_EQ(jsonRoundTrip(annotation), annotation);
    expectDocument(json, annotation);

    Annotation arrow = annotation;
    arrow.kind = Annotation::AnnotationKind::arrow;
    arrow.endPosition = NormalizedPoint{0.9, 0.1};
    EXPECT_EQ(jsonRoundTrip(arrow), arrow);
    // A null reads as absent, the form older writers may have used.
    JsonObject withNull = toJson(annotation).toObject();
    withNull.insert(QStringLiteral("endPosition"), JsonValue::Null);
    EXPECT_EQ(decode<Annotation>(withNull), annotation);
    JsonObject wrongType = toJson(annotation).toObject();
    wrongType.insert(QStringLiteral("endPosition"), 0.5);
    EXPECT_EQ(decodeError<Annotation>(wrongType), "v.endPosition: expected an object");
}

TEST(Transition, KindsGroupIntoCategoriesWithDisplayNames) {
    struct Row {
        TransitionKind kind;
        const char* displayName;
        TransitionCategory category;
    };
    using K = TransitionKind;
    using C = TransitionCategory;
    const Row rows[] = {
        {K::none, "None", C::cut},
        {K::crossDissolve, "Cross Dissolve", C::dissolve},
        {K::fade, "Fade to Black", C::dissolve},
        {K::fadeToWhite, "Fade to White", C::dissolve},
        {K::slideLeft, "Slide Left", C::slide},
        {K::slideRight, "Slide Right", C::slide},
        {K::slideUp, "Slide Up", C::slide},
        {K::slideDown, "Slide Down", C::slide},
        {K::wipeLeft, "Wipe Left", C::wipe},
        {K::wipeRight, "Wipe Right", C::wipe},
        {K::wipeUp, "Wipe Up", C::wipe},
        {K::wipeDown, "Wipe Down", C::wipe},
        {K::irisIn, "Iris In", C::iris},
        {K::irisOut, "Iris Out", C::iris},
        {K::zoomIn, "Zoom In", C::zoom},
        {K::zoomOut, "Zoom Out", C::zoom},
    };
    ASSERT_EQ(std::size(rows), enumEntries(TransitionKind{}).size());
    for (const Row& row : rows) {
        EXPECT_EQ(displayName(row.kind), QString::fromLatin1(row.displayName));
        EXPECT_EQ(category(row.kind), row.category) << row.displayName;
    }
    EXPECT_EQ(displayName(C::cut), QStringLiteral("Cut"));
    EXPECT_EQ(displayName(C::dissolve), QStringLiteral("Dissolve"));
    EXPECT_EQ(displayName(C::iris), QStringLiteral("Iris"));
    EXPECT_EQ(displayName(C::zoom), QStringLiteral("Zoom"));
}

TEST(Transition, EasedProgressClampsBeforeEasing) {
    EXPECT_EQ(Transition::none(), (Transition{TransitionKind::none, ProjectTime(0), EasingCurve::linear()}));
    EXPECT_EQ(Transition(), Transition::none());

    // Spring overshoots inside the range, so clamping after easing would give a different answer.
    const Transition spring{TransitionKind::zoomIn, ProjectTime(0.5), EasingCurve::spring()};
    EXPECT_EQ(spring.easedProgress(1.5), spring.easing.value(1));
    EXPECT_EQ(spring.easedProgress(-2), spring.easing.value(0));
    EXPECT_GT(spring.easedProgress(0.15), 1.0);

    const Transition curve{TransitionKind::crossDissolve, ProjectTime(1), EasingCurve::cinematic()};
    EXPECT_DOUBLE_EQ(curve.easedProgress(1.5), 1.0);
    EXPECT_DOUBLE_EQ(curve.easedProgress(-0.5), 0.0);
    EXPECT_DOUBLE_EQ(curve.easedProgress(0.5), curve.easing.value(0.5));
    EXPECT_LT(curve.easedProgress(0.2), 0.2); // the cinematic curve starts slowly

    const Transition linear{TransitionKind::fade, ProjectTime(1), EasingCurve::linear()};
    EXPECT_DOUBLE_EQ(linear.easedProgress(0.25), 0.25);
}

TEST(Transition, DocumentFormAndUnknownKind) {
    const Transition wipe{TransitionKind::wipeDown, ProjectTime(0.75), EasingCurve::appleStandard()};
    expectDocument(R"({
        "kind": "wipeDown", "duration": {"seconds": 0.75},
        "easing": {"kind": "bezier", "p1x": 0.4, "p1y": 0, "p2x": 0.2, "p2y": 1}
    })",
                   wipe);
    for (const auto& entry : enumEntries(TransitionKind{})) {
        const Transition t{entry.value, ProjectTime(0.3), EasingCurve::easeOut()};
        EXPECT_EQ(jsonRoundTrip(t), t) << entry.name;
    }
    JsonObject object = toJson(wipe).toObject();
    object.insert(QStringLiteral("kind"), QStringLiteral("morph"));
    EXPECT_EQ(decodeError<Transition>(object), R"(v.kind: unknown case "morph" of TransitionKind)");
}

TEST(ColorGrade, NeutralIsEveryValueAtRestAndNoLut) {
    const ColorGrade neutral = ColorGrade::neutral();
    EXPECT_TRUE(neutral.isNeutral());
    EXPECT_TRUE(ColorGrade().isNeutral());
    EXPECT_DOUBLE_EQ(neutral.contrast, 1);
    EXPECT_DOUBLE_EQ(neutral.saturation, 1);

    double ColorGrade::*const fields[] = {
        &ColorGrade::exposure,    &ColorGrade::contrast, &ColorGrade::saturation, &ColorGrade::vibrance,
        &ColorGrade::temperature, &ColorGrade::tint,     &ColorGrade::highlights, &ColorGrade::shadows};
    for (std::size_t i = 0; i < std::size(fields); ++i) {
        ColorGrade changed = neutral;
        changed.*fields[i] += 0.01;
        EXPECT_FALSE(changed.isNeutral()) << "field " << i;
    }

    ColorGrade lut = neutral;
    lut.lutName = QStringLiteral("Teal Orange");
    EXPECT_FALSE(lut.isNeutral());
    // Present but empty is still a LUT field that is set.
    lut.lutName = QString();
    EXPECT_FALSE(lut.isNeutral());
    ColorGrade custom = neutral;
    custom.customLUTBookmark = QByteArray();
    EXPECT_FALSE(custom.isNeutral());
}

TEST(ColorGrade, OptionalLutFieldsAreLeftOutAndNumbersRequired) {
    expectDocument(
        R"({"exposure": 0, "contrast": 1, "saturation": 1, "vibrance": 0, "temperature": 0, "tint": 0,
                       "highlights": 0, "shadows": 0})",
        ColorGrade::neutral());
    ColorGrade graded{
        0.3, 1.1, 0.9, 0.2, -0.4, 0.05, -0.5, 0.25, QStringLiteral("Film"), QByteArray("bookmark")};
    EXPECT_EQ(jsonRoundTrip(graded), graded);
    expectDocument(
        R"({"exposure": 0.3, "contrast": 1.1, "saturation": 0.9, "vibrance": 0.2, "temperature": -0.4,
                       "tint": 0.05, "highlights": -0.5, "shadows": 0.25, "lutName": "Film",
                       "customLUTBookmark": "Ym9va21hcms="})",
        graded, {QStringLiteral("lutName"), QStringLiteral("customLUTBookmark")});
}

TEST(MotionBlurConfig, EnabledOnlyByAPositiveStrength) {
    struct Row {
        MotionBlurConfig config;
        bool enabled;
    };
    const Row rows[] = {
        {MotionBlurConfig::defaults(), false}, {MotionBlurConfig::glassStage(), true},
        {MotionBlurConfig{0.1, 0, 0}, true},   {MotionBlurConfig{0, 0.1, 0}, true},
        {MotionBlurConfig{0, 0, 0.1}, true},   {MotionBlurConfig{-1, -0.5, -2}, false},
        {MotionBlurConfig{-1, 0, 0}, false},   {MotionBlurConfig{-5, -5, 1e-9}, true},
    };
    for (const Row& row : rows)
        EXPECT_EQ(row.config.isEnabled(), row.enabled)
            << row.config.cursorStrength << " " << row.config.zoomStrength << " " << row.config.panStrength;
    static_assert(!MotionBlurConfig::defaults().isEnabled());

    expectDocument(R"({"cursorStrength": 0.4, "zoomStrength": 0.5, "panStrength": 0.3})",
                   MotionBlurConfig::glassStage());
}

TEST(EffectRecords, DefaultsMatchTheirDocumentsAndEveryKeyIsRequired) {
    expectDocument(R"({"fontSize": 28, "displayDuration": 1.5, "position": "bottomCenter"})",
                   KeystrokeOverlayStyle::defaults());
    expectDocument(R"({"isEnabled": false, "focusRadius": 0.15, "blurRadius": 20, "falloff": 1.5})",
                   DepthOfFieldConfig::defaults());
    expectDocument(R"({"isEnabled": false, "strength": 3, "onlyDuringZoom": true})",
                   ChromaticAberrationConfig::defaults());
    expectDocument(R"({"isEnabled": false, "intensity": 0.6, "radius": 0.4, "followsCursor": true})",
                   DynamicVignetteConfig::defaults());
    expectDocument(
        R"({"isEnabled": false, "grainIntensity": 0.15, "grainSize": 2, "halation": 0.1, "colorShift": 0.05})",
        FilmLookConfig::defaults());
    expectDocument(R"({"isEnabled": false, "trailLength": 15, "trailWidth": 4,
                       "color": {"r": 0.7, "g": 0.38, "b": 1, "a": 0.7}, "fadeOut": true, "glow": true})",
                   CursorTrailConfig::defaults());
    expectDocument(
        R"({"isEnabled": false, "radius": 0.15, "dimOpacity": 0.6, "feather": 0.3, "followsCursor": true})",
        SpotlightConfig::defaults());
    expectDocument(R"({"isEnabled": false, "sensitivity": 0.5, "transitionKind": "crossDissolve",
                       "transitionDuration": 0.3})",
                   SceneDetectionConfig::defaults());
    expectDocument(R"({"isEnabled": false, "detectText": true, "detectButtons": true, "detectMenus": true,
                       "zoomLevel": 2})",
                   ContentAwareZoomConfig::defaults());
}

TEST(EffectRecords, WrongTypesFailEvenWhereTheValueWouldFit) {
    JsonObject trail = toJson(CursorTrailConfig::defaults()).toObject();
    trail.insert(QStringLiteral("trailLength"), 15.5);
    EXPECT_EQ(decodeError<CursorTrailConfig>(trail), "v.trailLength: expected an integer");
    JsonObject blur = toJson(DepthOfFieldConfig::defaults()).toObject();
    blur.insert(QStringLiteral("isEnabled"), 1);
    EXPECT_EQ(decodeError<DepthOfFieldConfig>(blur), "v.isEnabled: expected true or false");
    JsonObject keys = toJson(KeystrokeOverlayStyle::defaults()).toObject();
    keys.insert(QStringLiteral("position"), QStringLiteral("middle"));
    EXPECT_EQ(decodeError<KeystrokeOverlayStyle>(keys),
              R"(v.position: unknown case "middle" of KeystrokeOverlayStyle.KeystrokePosition)");
}

TEST(SceneDetectionConfig, TransitionKindIsFreeText) {
    SceneDetectionConfig config = SceneDetectionConfig::defaults();
    config.transitionKind = QStringLiteral("morphCut");
    EXPECT_EQ(jsonRoundTrip(config), config);
    JsonObject object = toJson(SceneDetectionConfig::defaults()).toObject();
    object.insert(QStringLiteral("transitionKind"), QStringLiteral(""));
    EXPECT_EQ(decode<SceneDetectionConfig>(object).transitionKind, QString());
    object.insert(QStringLiteral("transitionKind"), 3);
    EXPECT_EQ(decodeError<SceneDetectionConfig>(object), "v.transitionKind: expected a string");
}
