#include "Caption.h"

#include "Json.h"

namespace orvane {

Caption Caption::create(ProjectTime time, ProjectTime duration, QString text,
                        std::optional<std::vector<CaptionWord>> words) {
    return Caption{QUuid::createUuid(), time, duration, std::move(text), std::move(words)};
}

void fromJson(const JsonIn& in, CaptionWord& out) {
    const JsonObjectIn o(in);
    out.start = o.required<ProjectTime>("start");
    out.duration = o.required<ProjectTime>("duration");
    out.text = o.required<QString>("text");
}

JsonValue toJson(const CaptionWord& value) {
    JsonObjectOut o;
    o.set("start", value.start).set("duration", value.duration).set("text", value.text);
    return o.take();
}

void fromJson(const JsonIn& in, Caption& out) {
    const JsonObjectIn o(in);
    out.id = o.required<QUuid>("id");
    out.time = o.required<ProjectTime>("time");
    out.duration = o.required<ProjectTime>("duration");
    out.text = o.required<QString>("text");
    out.words = o.optional<std::vector<CaptionWord>>("words");
}

JsonValue toJson(const Caption& value) {
    JsonObjectOut o;
    o.set("id", value.id)
        .set("time", value.time)
        .set("duration", value.duration)
        .set("text", value.text)
        .set("words", value.words);
    return o.take();
}

} // namespace orvane
