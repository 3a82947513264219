#include "ProjectTime.h"

#include <cmath>
#include <cstdio>

namespace orvane {

QString ProjectTime::formatted() const {
    const double t = seconds < 0 ? 0.0 : seconds;
    const auto whole = static_cast<long long>(t);
    const double fraction = t - double(whole);
    const long long minutes = whole / 60;
    const long long secs = whole % 60;
    const int millis = static_cast<int>(fraction * 1000.0);
    char buffer[48];
    std::snprintf(buffer, sizeof buffer, "%02lld:%02lld.%03d", minutes, secs, millis);
    return QString::fromLatin1(buffer);
}

MediaTime ProjectTime::mediaTime() const {
    return MediaTime{static_cast<std::int64_t>(std::llround(seconds * mediaTimescale)), mediaTimescale};
}

} // namespace orvane

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, ProjectTime& out) {
    out.seconds = JsonObjectIn(in).required<double>("seconds");
}

JsonValue toJson(const ProjectTime& value) {
    JsonObjectOut o;
    o.set("seconds", value.seconds);
    return o.take();
}

void fromJson(const JsonIn& in, TimeRange& out) {
    const JsonObjectIn o(in);
    out.start = o.required<ProjectTime>("start");
    out.duration = o.required<ProjectTime>("duration");
}

JsonValue toJson(const TimeRange& value) {
    JsonObjectOut o;
    o.set("start", value.start).set("duration", value.duration);
    return o.take();
}

} // namespace orvane
