#include "Transition.h"

#include <algorithm>

namespace orvane {

namespace {
struct KindInfo {
    const char* displayName;
    TransitionCategory category;
};

constexpr KindInfo kindInfo(TransitionKind kind) {
    using K = TransitionKind;
    using C = TransitionCategory;
    switch (kind) {
    case K::none:
        return {"None", C::cut};
    case K::crossDissolve:
        return {"Cross Dissolve", C::dissolve};
    case K::fade:
        return {"Fade to Black", C::dissolve};
    case K::fadeToWhite:
        return {"Fade to White", C::dissolve};
    case K::slideLeft:
        return {"Slide Left", C::slide};
    case K::slideRight:
        return {"Slide Right", C::slide};
    case K::slideUp:
        return {"Slide Up", C::slide};
    case K::slideDown:
        return {"Slide Down", C::slide};
    case K::wipeLeft:
        return {"Wipe Left", C::wipe};
    case K::wipeRight:
        return {"Wipe Right", C::wipe};
    case K::wipeUp:
        return {"Wipe Up", C::wipe};
    case K::wipeDown:
        return {"Wipe Down", C::wipe};
    case K::irisIn:
        return {"Iris In", C::iris};
    case K::irisOut:
        return {"Iris Out", C::iris};
    case K::zoomIn:
        return {"Zoom In", C::zoom};
    case K::zoomOut:
        return {"Zoom Out", C::zoom};
    }
    return {"None", C::cut};
}
} // namespace

QString displayName(TransitionKind kind) {
    return QString::fromLatin1(kindInfo(kind).displayName);
}

TransitionCategory category(TransitionKind kind) {
    return kindInfo(kind).category;
}

QString displayName(TransitionCategory category) {
    switch (category) {
    case TransitionCategory::cut:
        return QStringLiteral("Cut");
    case TransitionCategory::dissolve:
        return QStringLiteral("Dissolve");
    case TransitionCategory::slide:
        return QStringLiteral("Slide");
    case TransitionCategory::wipe:
        return QStringLiteral("Wipe");
    case TransitionCategory::iris:
        return QStringLiteral("Iris");
    case TransitionCategory::zoom:
        return QStringLiteral("Zoom");
    }
    return {};
}

double Transition::easedProgress(double t) const {
    return easing.value(std::clamp(t, 0.0, 1.0));
}

void fromJson(const JsonIn& in, Transition& out) {
    const JsonObjectIn o(in);
    out.kind = o.required<TransitionKind>("kind");
    out.duration = o.required<ProjectTime>("duration");
    out.easing = o.required<EasingCurve>("easing");
}

JsonValue toJson(const Transition& value) {
    JsonObjectOut o;
    o.set("kind", value.kind).set("duration", value.duration).set("easing", value.easing);
    return o.take();
}

} // namespace orvane
