#include "common/JsonTestSupport.h"
#include "project/AudioConfig.h"
#include "project/AutoZoomConfig.h"
#include "project/BackgroundStyle.h"
#include "project/CameraOverlay.h"
#include "project/ChromeStyle.h"
#include "project/ClickRippleStyle.h"
#include "project/CursorStyle.h"
#include "project/FrameStyle.h"
#include "project/Json.h"
#include "project/PerspectiveStyle.h"
#include "project/ShadowStyle.h"
#include "project/SpotlightStyle.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace orvane;

namespace {

// Every style record is a JSON object, so each can be the root of a document of its own.
using test::decodeJsonText;
using test::jsonRoundTrip;

template <class T>
std::string decodeError(const char* json) {
    return test::jsonDecodeError<T>(readJsonDocument(QByteArray(json)));
}

// Compact text with sorted keys, so that a mismatch prints readably and key order does not matter.
std::string compact(const JsonValue& value) {
    return writeCompactJson(value).toStdString();
}
std::string compact(const char* json) {
    return compact(readJsonDocument(QByteArray(json)));
}

template <JsonEnum E>
std::vector<std::string_view> names() {
    std::vector<std::string_view> out;
    for (const auto& entry : enumEntries(E{}))
        out.push_back(entry.name);
    return out;
}

using Names = std::vector<std::string_view>;

} // namespace

TEST(StyleRecordsJson, EmptyObjectIsDefaultOnlyForLenientRecords) {
    EXPECT_EQ(decodeJsonText<FrameStyle>("{}"), FrameStyle::defaults());
    EXPECT_EQ(decodeJsonText<CursorStyle>("{}"), CursorStyle::defaults());
    EXPECT_EQ(decodeJsonText<PerspectiveStyle>("{}"), PerspectiveStyle::defaults());

    EXPECT_EQ(decodeError<AudioConfig>("{}"), "systemAudioVolume: required key is missing");
    EXPECT_EQ(decodeError<ShadowStyle>("{}"), "color: required key is missing");
    EXPECT_EQ(decodeError<ClickRippleStyle>("{}"), "isEnabled: required key is missing");
    EXPECT_EQ(decodeError<SpotlightStyle>("{}"), "isEnabled: required key is missing");
    EXPECT_EQ(decodeError<AutoZoomConfig>("{}"), "isEnabled: required key is missing");
    EXPECT_EQ(decodeError<CameraOverlay>("{}"), "isEnabled: required key is missing");
}

TEST(StyleRecordsJson, LenientRecordsDefaultMissingAndNullKeysButRejectWrongTypes) {
    FrameStyle frame = decodeJsonText<FrameStyle>(R"({"cornerRadius": 4, "paddingFraction": null,
                                                  "chrome": {"mobile": {"device": "pixel8"}}})");
    EXPECT_EQ(frame.cornerRadius, 4);
    EXPECT_EQ(frame.paddingFraction, 0.08);
    EXPECT_EQ(frame.chrome, ChromeStyle::mobile(ChromeStyle::MobileDevice::pixel8));
    frame.cornerRadius = 16;
    frame.chrome = ChromeStyle::none();
    EXPECT_EQ(frame, FrameStyle::defaults());

    const CursorStyle cursor = decodeJsonText<CursorStyle>(R"({"shape": "iBeam", "spotlight": null})");
    EXPECT_EQ(cursor.shape, CursorShape::iBeam);
    EXPECT_EQ(cursor.spotlight, SpotlightStyle::none());
    EXPECT_EQ(decodeJsonText<PerspectiveStyle>(R"({"isEnabled": true})").depth, 0.35);

    EXPECT_EQ(decodeError<FrameStyle>(R"({"cornerRadius": "16"})"), "cornerRadius: expected a number");
    EXPECT_EQ(decodeError<PerspectiveStyle>(R"({"isEnabled": 1})"), "isEnabled: expected true or false");
    EXPECT_EQ(decodeError<CursorStyle>(R"({"shape": "pointer"})"),
              "shape: unknown case \"pointer\" of CursorShape");
    // A record nested in a lenient one keeps its own rules.
    EXPECT_EQ(decodeError<FrameStyle>(R"({"shadow": {}})"), "shadow.color: required key is missing");
    EXPECT_EQ(decodeError<CursorStyle>(R"({"clickRipple": {"isEnabled": false}})"),
              "clickRipple.color: required key is missing");
    EXPECT_EQ(decodeError<FrameStyle>(R"({"chrome": {}})"),
              "chrome: Invalid number of keys found, expected one.");
}

TEST(StyleRecordsJson, HandWrittenDefaultDocumentsMatchTheDefaults) {
    EXPECT_EQ(decodeJsonText<AudioConfig>(
                  R"({"systemAudioVolume": 1, "micVolume": 1, "ducking": true, "noiseSuppression": true})"),
              AudioConfig::defaults());
    EXPECT_EQ(decodeJsonText<AutoZoomConfig>(R"({
        "isEnabled": true, "clickSensitivity": 0.7, "zoomLevel": 1.8,
        "easing": {"kind": "spring", "p1x": 0.65, "p1y": 0, "p2x": 0.35, "p2y": 1},
        "zoomInDuration": 0.85, "minHoldDuration": 0.7, "zoomOutDuration": 0.5,
        "composition": "ruleOfThirds", "centerPull": 0.45, "maxZoomsPerMinute": 12})"),
              AutoZoomConfig::defaults());
    EXPECT_EQ(decodeJsonText<CameraOverlay>(R"({
        "isEnabled": false, "position": {"x": 0.92, "y": 0.92}, "sizeFraction": 0.18, "shape": "circle",
        "borderWidth": 4, "borderColor": {"r": 1, "g": 1, "b": 1, "a": 1},
        "shadow": {"color": {"r": 0, "g": 0, "b": 0, "a": 1}, "radius": 60, "offsetX": 0, "offsetY": 24,
                   "opacity": 0.45},
        "deviceUniqueID": "", "mirror": true, "backgroundRemoval": "off"})"),
              CameraOverlay::defaults());
    EXPECT_EQ(
        decodeJsonText<ClickRippleStyle>(R"({"isEnabled": true, "color": {"r": 1, "g": 1, "b": 1, "a": 0.85},
                                               "maxRadius": 80, "duration": 0.6, "thickness": 4, "fadeOut": true})"),
        ClickRippleStyle::defaults());
    EXPECT_EQ(
        decodeJsonText<SpotlightStyle>(R"({"isEnabled": true, "color": {"r": 1, "g": 1, "b": 1, "a": 0.15},
                                             "radius": 80, "falloff": 0.6})"),
        SpotlightStyle::subtle());
    EXPECT_EQ(decodeJsonText<FrameStyle>(R"({"innerBorderColor": {"r": 1, "g": 1, "b": 1, "a": 0.08},
                                         "innerBorderWidth": 1, "chrome": {"none": {}}})"),
              FrameStyle::defaults());
    EXPECT_EQ(decodeError<AutoZoomConfig>(R"({
        "isEnabled": true, "clickSensitivity": 0.7, "zoomLevel": 1.8,
        "easing": {"kind": "spring", "p1x": 0.65, "p1y": 0, "p2x": 0.35, "p2y": 1},
        "zoomInDuration": 0.85, "minHoldDuration": 0.7, "zoomOutDuration": 0.5,
        "composition": "thirds", "centerPull": 0.45, "maxZoomsPerMinute": 12})"),
              "composition: unknown case \"thirds\" of AutoZoomConfig.CompositionStyle");
}

TEST(StyleRecordsJson, CameraOverlayRequiresMirrorButNotBackgroundRemoval) {
    JsonObject full = toJson(CameraOverlay::defaults()).toObject();
    full.insert(QStringLiteral("backgroundRemoval"), QStringLiteral("transparent"));
    const auto decode = [](const JsonObject& o) {
        const JsonPath root;
        return decodeJson<CameraOverlay>(JsonIn(o, root));
    };
    EXPECT_EQ(decode(full).backgroundRemoval, CameraOverlay::BackgroundRemovalMode::transparent);

    JsonObject withoutRemoval = full;
    withoutRemoval.remove(QStringLiteral("backgroundRemoval"));
    EXPECT_EQ(decode(withoutRemoval), CameraOverlay::defaults());
    JsonObject nullRemoval = full;
    nullRemoval.insert(QStringLiteral("backgroundRemoval"), JsonValue::Null);
    EXPECT_EQ(decode(nullRemoval).backgroundRemoval, CameraOverlay::BackgroundRemovalMode::off);

    JsonObject withoutMirror = full;
    withoutMirror.remove(QStringLiteral("mirror"));
    EXPECT_THROW(decode(withoutMirror), JsonError);
    JsonObject unknownRemoval = full;
    unknownRemoval.insert(QStringLiteral("backgroundRemoval"), QStringLiteral("green"));
    EXPECT_THROW(decode(unknownRemoval), JsonError);
}

TEST(StyleRecordsJson, EnumerationStringsAreTheDocumentForms) {
    EXPECT_EQ(names<CursorShape>(), (Names{"arrow", "hand", "iBeam", "crosshair", "openHand", "closedHand",
                                           "resizeH", "resizeV", "resizeDiagonal", "wait"}));
    EXPECT_EQ(names<ChromeStyle::WindowTheme>(), (Names{"light", "dark", "auto"}));
    EXPECT_EQ(names<ChromeStyle::BrowserTheme>(),
              (Names{"safariLight", "safariDark", "chromeLight", "chromeDark", "arc"}));
    EXPECT_EQ(names<ChromeStyle::MobileDevice>(), (Names{"iPhone15Pro", "iPhone15", "iPadPro", "pixel8"}));
    EXPECT_EQ(names<CameraOverlay::Shape>(), (Names{"circle", "square", "roundedRect", "hexagon"}));
    EXPECT_EQ(names<CameraOverlay::BackgroundRemovalMode>(), (Names{"off", "blur", "transparent"}));
    EXPECT_EQ(names<CameraLayout>(), (Names{"pip", "fullscreen", "hidden"}));
    EXPECT_EQ(names<AutoZoomConfig::CompositionStyle>(),
              (Names{"centerOnCursor", "ruleOfThirds", "followWithLead"}));
    EXPECT_EQ(toJson(ChromeStyle::WindowTheme::auto_).toString(), QStringLiteral("auto"));
    const JsonPath root;
    EXPECT_EQ(decodeJson<CameraLayout>(JsonIn(JsonValue(QStringLiteral("fullscreen")), root)),
              CameraLayout::fullscreen);
}

TEST(StylePresets, OffPresetsKeepTheirSizesAndOnlySwitchOff) {
    ClickRippleStyle ripple = ClickRippleStyle::none();
    EXPECT_FALSE(ripple.isEnabled);
    ripple.isEnabled = true;
    EXPECT_EQ(ripple, ClickRippleStyle::defaults());
    EXPECT_EQ(ClickRippleStyle::defaults().color, (RGBAColor{1, 1, 1, 0.85}));

    SpotlightStyle spotlight = SpotlightStyle::none();
    EXPECT_FALSE(spotlight.isEnabled);
    EXPECT_EQ(spotlight.radius, 60);
    spotlight.isEnabled = true;
    spotlight.radius = 80;
    EXPECT_EQ(spotlight, SpotlightStyle::subtle());

    EXPECT_EQ(PerspectiveStyle{}, PerspectiveStyle::defaults());
    EXPECT_EQ(CursorStyle::defaults().clickRipple, ClickRippleStyle::defaults());
    EXPECT_EQ(CursorStyle::defaults().spotlight, SpotlightStyle::none());
    EXPECT_EQ(FrameStyle::defaults().shadow, ShadowStyle::premium());
}

TEST(BackgroundStyle, PresetGradientsAreTheNamedHexFills) {
    struct Expected {
        const char* name;
        double angle;
        std::vector<std::pair<double, const char16_t*>> stops;
    };
    const std::vector<Expected> table{
        {"Sunset", 135, {{0, u"#FF6B6B"}, {0.5, u"#FFA630"}, {1, u"#FFD93D"}}},
        {"Indigo", 180, {{0, u"#1A1A2E"}, {1, u"#16213E"}}},
        {"Velvet Comet", 135, {{0, u"#B362FF"}, {0.5, u"#FF6BCB"}, {1, u"#7B61FF"}}},
        {"Aurora", 135, {{0, u"#0F2027"}, {0.5, u"#203A43"}, {1, u"#2C5364"}}},
        {"Lowcountry", 135, {{0, u"#2BC0E4"}, {1, u"#EAECC6"}}},
        {"Charcoal", 135, {{0, u"#232526"}, {1, u"#414345"}}},
        {"Mint", 135, {{0, u"#11998E"}, {1, u"#38EF7D"}}},
        {"Berry", 135, {{0, u"#8E2DE2"}, {1, u"#4A00E0"}}},
    };
    const auto& presets = BackgroundStyle::presetGradients();
    ASSERT_EQ(presets.size(), table.size());
    for (std::size_t i = 0; i < table.size(); ++i) {
        SCOPED_TRACE(table[i].name);
        EXPECT_EQ(presets[i].name, QString::fromUtf8(table[i].name));
        EXPECT_EQ(presets[i].fill.angleDegrees, table[i].angle);
        ASSERT_EQ(presets[i].fill.stops.size(), table[i].stops.size());
        for (std::size_t s = 0; s < table[i].stops.size(); ++s) {
            EXPECT_EQ(presets[i].fill.stops[s].location, table[i].stops[s].first);
            EXPECT_EQ(presets[i].fill.stops[s].color,
                      RGBAColor::fromHex(QStringView(table[i].stops[s].second)));
            EXPECT_EQ(presets[i].fill.stops[s].color.a, 1.0);
        }
    }
    // One colour spelled out by channel, so a wrong byte order in the table would show.
    EXPECT_EQ(presets[2].fill.stops[0].color, (RGBAColor{0xB3 / 255.0, 0x62 / 255.0, 1.0, 1.0}));

    EXPECT_EQ(BackgroundStyle::defaults(), BackgroundStyle::gradient(presets[2].fill));
    EXPECT_EQ(BackgroundStyle{}, BackgroundStyle::defaults());
}

TEST(BackgroundStyle, EveryCaseHasItsTaggedFormAndRoundTrips) {
    const GradientFill fill{{{0, RGBAColor{1, 0, 0, 1}}, {1, RGBAColor{0, 0, 1, 0.5}}}, 45};
    const struct {
        BackgroundStyle style;
        const char* json;
    } cases[] = {
        {BackgroundStyle::solid(RGBAColor{0.25, 0.5, 0.75, 1}),
         R"({"solid": {"_0": {"r": 0.25, "g": 0.5, "b": 0.75, "a": 1}}})"},
        {BackgroundStyle::gradient(fill), R"({"gradient": {"_0": {"angleDegrees": 45, "stops": [
             {"location": 0, "color": {"r": 1, "g": 0, "b": 0, "a": 1}},
             {"location": 1, "color": {"r": 0, "g": 0, "b": 1, "a": 0.5}}]}}})"},
        {BackgroundStyle::wallpaper(QStringLiteral("Dunes")), R"({"wallpaper": {"name": "Dunes"}})"},
        {BackgroundStyle::customImage(QByteArray::fromHex("0001626f6f6b6d61726bff")),
         R"({"customImage": {"bookmark": "AAFib29rbWFya/8="}})"},
        {BackgroundStyle::customImage(QByteArray()), R"({"customImage": {"bookmark": ""}})"},
        {BackgroundStyle::blurredExtension(60), R"({"blurredExtension": {"blurRadius": 60}})"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.json);
        EXPECT_EQ(compact(toJson(c.style)), compact(c.json));
        EXPECT_EQ(decodeJsonText<BackgroundStyle>(c.json), c.style);
        EXPECT_EQ(jsonRoundTrip(c.style), c.style);
    }
    EXPECT_EQ(jsonRoundTrip(BackgroundStyle::defaults()), BackgroundStyle::defaults());
}

TEST(ChromeStyle, EveryCaseHasItsTaggedFormAndRoundTrips) {
    const struct {
        ChromeStyle style;
        const char* json;
    } cases[] = {
        {ChromeStyle::none(), R"({"none": {}})"},
        {ChromeStyle::macOSWindow(QStringLiteral("Notes"), ChromeStyle::WindowTheme::dark),
         R"({"macOSWindow": {"title": "Notes", "theme": "dark"}})"},
        {ChromeStyle::browser(ChromeStyle::BrowserTheme::arc, QStringLiteral("example.org/pricing")),
         R"({"browser": {"theme": "arc", "urlText": "example.org/pricing"}})"},
        {ChromeStyle::browser(ChromeStyle::BrowserTheme::chromeDark, QString()),
         R"({"browser": {"theme": "chromeDark", "urlText": ""}})"},
        {ChromeStyle::browser(ChromeStyle::BrowserTheme::safariLight),
         R"({"browser": {"theme": "safariLight"}})"},
        {ChromeStyle::mobile(ChromeStyle::MobileDevice::iPadPro), R"({"mobile": {"device": "iPadPro"}})"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.json);
        EXPECT_EQ(compact(toJson(c.style)), compact(c.json));
        EXPECT_EQ(decodeJsonText<ChromeStyle>(c.json), c.style);
        EXPECT_EQ(jsonRoundTrip(c.style), c.style);
    }

    // An empty URL is a value, not an absence.
    EXPECT_NE(ChromeStyle::browser(ChromeStyle::BrowserTheme::arc, QString()),
              ChromeStyle::browser(ChromeStyle::BrowserTheme::arc));
    const auto browser = decodeJsonText<ChromeStyle>(R"({"browser": {"theme": "arc", "urlText": null}})");
    ASSERT_TRUE(std::holds_alternative<ChromeStyle::Browser>(browser.value));
    EXPECT_FALSE(std::get<ChromeStyle::Browser>(browser.value).urlText.has_value());
    // The payload of `none` is ignored but must still be an object.
    EXPECT_EQ(decodeJsonText<ChromeStyle>(R"({"none": {"extra": 1}})"), ChromeStyle::none());
    EXPECT_EQ(decodeError<ChromeStyle>(R"({"none": true})"), "none: expected an object");
}

TEST(TaggedStyleJson, MalformedTaggedObjectsFail) {
    const std::string keyCount = json::invalidKeyCount;
    EXPECT_EQ(decodeError<BackgroundStyle>("{}"), keyCount);
    EXPECT_EQ(decodeError<ChromeStyle>("{}"), keyCount);
    EXPECT_EQ(decodeError<BackgroundStyle>(
                  R"({"wallpaper": {"name": "Dunes"}, "blurredExtension": {"blurRadius": 30}})"),
              keyCount);
    EXPECT_EQ(decodeError<ChromeStyle>(R"({"none": {}, "mobile": {"device": "pixel8"}})"), keyCount);

    EXPECT_EQ(decodeError<BackgroundStyle>(R"({"video": {}})"), "unknown case \"video\" of BackgroundStyle");
    EXPECT_EQ(decodeError<ChromeStyle>(R"({"Browser": {"theme": "arc"}})"),
              "unknown case \"Browser\" of ChromeStyle");
    EXPECT_EQ(decodeError<ChromeStyle>(R"({"macOSWindow": {"title": "", "theme": "sepia"}})"),
              "macOSWindow.theme: unknown case \"sepia\" of ChromeStyle.WindowTheme");
    EXPECT_EQ(decodeError<ChromeStyle>(R"({"mobile": {"device": "pixel9"}})"),
              "mobile.device: unknown case \"pixel9\" of ChromeStyle.MobileDevice");

    EXPECT_EQ(decodeError<BackgroundStyle>(R"({"wallpaper": {}})"),
              "wallpaper.name: required key is missing");
    EXPECT_EQ(decodeError<BackgroundStyle>(R"({"solid": {"r": 1, "g": 1, "b": 1, "a": 1}})"),
              "solid._0: required key is missing");
    EXPECT_EQ(decodeError<BackgroundStyle>(
                  R"({"gradient": {"_0": {"stops": [{"location": 0}], "angleDegrees": 0}}})"),
              "gradient._0.stops[0].color: required key is missing");
    EXPECT_EQ(decodeError<BackgroundStyle>(R"({"customImage": {"bookmark": "%%"}})"),
              "customImage.bookmark: expected a Base64 string");
    EXPECT_EQ(decodeError<ChromeStyle>(R"({"browser": {"urlText": "x"}})"),
              "browser.theme: required key is missing");
    EXPECT_EQ(decodeError<BackgroundStyle>(R"({"blurredExtension": {"blurRadius": "30"}})"),
              "blurredExtension.blurRadius: expected a number");
}
