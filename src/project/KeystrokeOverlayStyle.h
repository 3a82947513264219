#pragma once

#include "Json.h"

#include <array>

namespace orvane {

// How pressed keys are shown over a recording. Whether they are shown at all is a switch of the clip.
struct KeystrokeOverlayStyle {
    enum class KeystrokePosition { bottomCenter, bottomLeft, bottomRight, topCenter };

    double fontSize = 28;
    // Seconds a key stays on screen after it was pressed.
    double displayDuration = 1.5;
    KeystrokePosition position = KeystrokePosition::bottomCenter;

    static constexpr KeystrokeOverlayStyle defaults() { return {}; }

    bool operator==(const KeystrokeOverlayStyle&) const = default;
};

constexpr auto enumEntries(KeystrokeOverlayStyle::KeystrokePosition) {
    using P = KeystrokeOverlayStyle::KeystrokePosition;
    return std::array{EnumEntry<P>{P::bottomCenter, "bottomCenter"},
                      EnumEntry<P>{P::bottomLeft, "bottomLeft"}, EnumEntry<P>{P::bottomRight, "bottomRight"},
                      EnumEntry<P>{P::topCenter, "topCenter"}};
}
constexpr std::string_view enumTypeName(KeystrokeOverlayStyle::KeystrokePosition) {
    return "KeystrokeOverlayStyle.KeystrokePosition";
}

void fromJson(const JsonIn& in, KeystrokeOverlayStyle& out);
JsonValue toJson(const KeystrokeOverlayStyle& value);

} // namespace orvane
