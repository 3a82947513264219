#include "RGBAColor.h"

#include <cstdint>

namespace orvane {

namespace {
int hexDigit(QChar c) {
    const char16_t u = c.unicode();
    if (u >= '0' && u <= '9')
        return u - '0';
    if (u >= 'a' && u <= 'f')
        return u - 'a' + 10;
    if (u >= 'A' && u <= 'F')
        return u - 'A' + 10;
    return -1;
}
} // namespace

std::optional<RGBAColor> RGBAColor::fromHex(QStringView hex) {
    if (hex.startsWith(u'#'))
        hex = hex.mid(1);
    if (hex.size() != 6 && hex.size() != 8)
        return std::nullopt;
    // Scanned as one number, like a hex scanner does: the scan stops at the first non-digit and keeps
    // what it read, and a string that does not start with a digit is no colour at all.
    std::uint32_t value = 0;
    qsizetype scanned = 0;
    for (; scanned < hex.size(); ++scanned) {
        const int d = hexDigit(hex[scanned]);
        if (d < 0)
            break;
        value = value * 16 + std::uint32_t(d);
    }
    if (scanned == 0)
        return std::nullopt;
    auto channel = [](std::uint32_t v, int shift) {
        return double((v >> shift) & 0xFF) / 255.0;
    };
    if (hex.size() == 6)
        return RGBAColor{channel(value, 16), channel(value, 8), channel(value, 0), 1.0};
    return RGBAColor{channel(value, 24), channel(value, 16), channel(value, 8), channel(value, 0)};
}

} // namespace orvane

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, RGBAColor& out) {
    const JsonObjectIn o(in);
    out.r = o.required<double>("r");
    out.g = o.required<double>("g");
    out.b = o.required<double>("b");
    out.a = o.required<double>("a");
}

JsonValue toJson(const RGBAColor& value) {
    JsonObjectOut o;
    o.set("r", value.r).set("g", value.g).set("b", value.b).set("a", value.a);
    return o.take();
}

} // namespace orvane
