#pragma once

#include "JsonFwd.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace orvane {

// The colour correction of a clip. Exposure is in stops; contrast and saturation are factors around 1;
// the other five are offsets around 0. A LUT, built-in by name or a custom file by bookmark, is applied
// after them.
struct ColorGrade {
    double exposure = 0;
    double contrast = 1;
    double saturation = 1;
    double vibrance = 0;
    double temperature = 0;
    double tint = 0;
    double highlights = 0;
    double shadows = 0;
    std::optional<QString> lutName;
    std::optional<QByteArray> customLUTBookmark;

    static ColorGrade neutral() { return {}; }

    // True when the grade changes nothing, so the renderer can skip it. A LUT field that is present
    // counts as a change even when it is empty.
    bool isNeutral() const { return *this == neutral(); }

    bool operator==(const ColorGrade&) const = default;
};

void fromJson(const JsonIn& in, ColorGrade& out);
JsonValue toJson(const ColorGrade& value);

} // namespace orvane
