#include "ChromeStyle.h"

namespace orvane {

void fromJson(const JsonIn& in, ChromeStyle& out) {
    const JsonTaggedIn tagged(in);
    if (tagged.is("none")) {
        // The payload carries nothing but must still be an object.
        tagged.payload();
        out = ChromeStyle::none();
    } else if (tagged.is("macOSWindow")) {
        const JsonObjectIn o = tagged.payload();
        out = ChromeStyle::macOSWindow(o.required<QString>("title"),
                                       o.required<ChromeStyle::WindowTheme>("theme"));
    } else if (tagged.is("browser")) {
        const JsonObjectIn o = tagged.payload();
        out = ChromeStyle::browser(o.required<ChromeStyle::BrowserTheme>("theme"),
                                   o.optional<QString>("urlText"));
    } else if (tagged.is("mobile")) {
        out = ChromeStyle::mobile(tagged.payload().required<ChromeStyle::MobileDevice>("device"));
    } else {
        tagged.failUnknownCase("ChromeStyle");
    }
}

JsonValue toJson(const ChromeStyle& value) {
    JsonObjectOut payload;
    if (const auto* window = std::get_if<ChromeStyle::MacOSWindow>(&value.value))
        return taggedJson("macOSWindow",
                          payload.set("title", window->title).set("theme", window->theme).take());
    if (const auto* browser = std::get_if<ChromeStyle::Browser>(&value.value))
        return taggedJson("browser",
                          payload.set("theme", browser->theme).set("urlText", browser->urlText).take());
    if (const auto* mobile = std::get_if<ChromeStyle::Mobile>(&value.value))
        return taggedJson("mobile", payload.set("device", mobile->device).take());
    return taggedJson("none");
}

} // namespace orvane
