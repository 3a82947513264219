#pragma once

#include "Caption.h"
#include "CaptionsStyle.h"
#include "JsonFwd.h"
#include "ProjectTime.h"

#include <QString>
#include <QStringView>

#include <optional>
#include <vector>

namespace orvane {

// A clip's captions and their one style. The list keeps the order in which captions were made, which
// need not be the order of their times: nothing sorts it on load.
struct CaptionsTrack {
    std::vector<Caption> captions;
    CaptionsStyle style = CaptionsStyle::defaults();

    // Every caption showing at `t`, in stored order: started at or before `t` and not yet ended.
    // Overlapping captions are all returned.
    std::vector<Caption> active(ProjectTime t) const;

    // Reads the timed lines of an LRC file. It never fails: lines it cannot read, header tags among them,
    // are passed over. Each caption lasts until the next one starts, at least a quarter of a second, and
    // the last lasts three seconds. The result has no word timing and the default style.
    static CaptionsTrack fromLRC(QStringView text);
    // One "[mm:ss.xx]text" line per caption, in stored order, joined by line feeds with none after the
    // last. Durations, word timing and the style are not written.
    QString toLRC() const;

    // The seconds of an LRC time tag without its brackets: "mm:ss.xx", or "hh:mm:ss.xx" with anything
    // after a third piece ignored. None when a piece used is not a plain decimal number.
    static std::optional<double> parseLRCTimestamp(QStringView tag);

    bool operator==(const CaptionsTrack&) const = default;
};

void fromJson(const JsonIn& in, CaptionsTrack& out);
JsonValue toJson(const CaptionsTrack& value);

} // namespace orvane
