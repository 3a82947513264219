#pragma once

#include "Json.h"

#include <QString>

#include <array>
#include <optional>
#include <variant>

namespace orvane {

// The fake window, browser or device drawn around the recording.
struct ChromeStyle {
    // `auto_` is written "auto", a keyword here. Only `light` draws the light look; `dark` and `auto_`
    // both draw the dark one.
    enum class WindowTheme { light, dark, auto_ };
    enum class BrowserTheme { safariLight, safariDark, chromeLight, chromeDark, arc };
    enum class MobileDevice { iPhone15Pro, iPhone15, iPadPro, pixel8 };

    struct None {
        bool operator==(const None&) const = default;
    };
    struct MacOSWindow {
        QString title;
        WindowTheme theme = WindowTheme::light;
        bool operator==(const MacOSWindow&) const = default;
    };
    struct Browser {
        BrowserTheme theme = BrowserTheme::safariLight;
        std::optional<QString> urlText;
        bool operator==(const Browser&) const = default;
    };
    struct Mobile {
        MobileDevice device = MobileDevice::iPhone15Pro;
        bool operator==(const Mobile&) const = default;
    };

    std::variant<None, MacOSWindow, Browser, Mobile> value;

    static ChromeStyle none() { return {None{}}; }
    static ChromeStyle macOSWindow(QString title, WindowTheme theme) {
        return {MacOSWindow{std::move(title), theme}};
    }
    static ChromeStyle browser(BrowserTheme theme, std::optional<QString> urlText = std::nullopt) {
        return {Browser{theme, std::move(urlText)}};
    }
    static ChromeStyle mobile(MobileDevice device) { return {Mobile{device}}; }

    bool isNone() const { return std::holds_alternative<None>(value); }

    bool operator==(const ChromeStyle&) const = default;
};

constexpr auto enumEntries(ChromeStyle::WindowTheme) {
    using T = ChromeStyle::WindowTheme;
    return std::array{EnumEntry<T>{T::light, "light"}, EnumEntry<T>{T::dark, "dark"},
                      EnumEntry<T>{T::auto_, "auto"}};
}
constexpr std::string_view enumTypeName(ChromeStyle::WindowTheme) {
    return "ChromeStyle.WindowTheme";
}

constexpr auto enumEntries(ChromeStyle::BrowserTheme) {
    using T = ChromeStyle::BrowserTheme;
    return std::array{EnumEntry<T>{T::safariLight, "safariLight"}, EnumEntry<T>{T::safariDark, "safariDark"},
                      EnumEntry<T>{T::chromeLight, "chromeLight"}, EnumEntry<T>{T::chromeDark, "chromeDark"},
                      EnumEntry<T>{T::arc, "arc"}};
}
constexpr std::string_view enumTypeName(ChromeStyle::BrowserTheme) {
    return "ChromeStyle.BrowserTheme";
}

constexpr auto enumEntries(ChromeStyle::MobileDevice) {
    using T = ChromeStyle::MobileDevice;
    return std::array{EnumEntry<T>{T::iPhone15Pro, "iPhone15Pro"}, EnumEntry<T>{T::iPhone15, "iPhone15"},
                      EnumEntry<T>{T::iPadPro, "iPadPro"}, EnumEntry<T>{T::pixel8, "pixel8"}};
}
constexpr std::string_view enumTypeName(ChromeStyle::MobileDevice) {
    return "ChromeStyle.MobileDevice";
}

void fromJson(const JsonIn& in, ChromeStyle& out);
JsonValue toJson(const ChromeStyle& value);

} // namespace orvane
