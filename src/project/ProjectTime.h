#pragma once

#include "MediaTime.h"

#include <QString>

#include <compare>
#include <cstdint>
#include <functional>

namespace orvane {

// A time in seconds. In JSON it is always an object {"seconds": n}, never a bare number.
struct ProjectTime {
    double seconds = 0.0;

    static constexpr std::int32_t mediaTimescale = 600;

    constexpr ProjectTime() = default;
    constexpr explicit ProjectTime(double s)
        : seconds(s) {}
    explicit ProjectTime(const MediaTime& t)
        : seconds(t.seconds()) {}

    static constexpr ProjectTime zero() { return ProjectTime(); }

    // "mm:ss.fff"; negative times read as zero and minutes do not wrap into hours.
    QString formatted() const;
    // Rounded to the nearest tick of a 600-per-second timescale.
    MediaTime mediaTime() const;

    constexpr ProjectTime operator+(ProjectTime o) const { return ProjectTime(seconds + o.seconds); }
    constexpr ProjectTime operator-(ProjectTime o) const { return ProjectTime(seconds - o.seconds); }
    constexpr ProjectTime& operator+=(ProjectTime o) {
        seconds += o.seconds;
        return *this;
    }
    constexpr ProjectTime& operator-=(ProjectTime o) {
        seconds -= o.seconds;
        return *this;
    }
    constexpr auto operator<=>(const ProjectTime&) const = default;
    constexpr bool operator==(const ProjectTime&) const = default;
};

struct TimeRange {
    ProjectTime start;
    ProjectTime duration;

    static constexpr TimeRange zero() { return TimeRange(); }
    static constexpr TimeRange fromStartDuration(ProjectTime start, ProjectTime duration) {
        return TimeRange{start, duration};
    }
    // The duration is end - start, even when that is negative: the range is not reordered.
    static constexpr TimeRange fromStartEnd(ProjectTime start, ProjectTime end) {
        return TimeRange{start, end - start};
    }

    constexpr ProjectTime end() const { return start + duration; }
    MediaTimeRange mediaTimeRange() const { return {start.mediaTime(), duration.mediaTime()}; }

    bool operator==(const TimeRange&) const = default;
};

} // namespace orvane

template <>
struct std::hash<orvane::ProjectTime> {
    std::size_t operator()(const orvane::ProjectTime& t) const noexcept {
        // +0.0 and -0.0 compare equal, so they must hash alike.
        return std::hash<double>{}(t.seconds == 0.0 ? 0.0 : t.seconds);
    }
};

#include "JsonFwd.h"

namespace orvane {
void fromJson(const JsonIn& in, ProjectTime& out);
JsonValue toJson(const ProjectTime& value);
void fromJson(const JsonIn& in, TimeRange& out);
JsonValue toJson(const TimeRange& value);
} // namespace orvane
