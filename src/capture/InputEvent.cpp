#include "InputEvent.h"

#include "project/Json.h"

#include <type_traits>

namespace orvane {

ProjectTime InputEvent::time() const {
    return std::visit([](const auto& e) { return e.time; }, value);
}

std::optional<Point> InputEvent::location() const {
    return std::visit(
        [](const auto& e) -> std::optional<Point> {
            using E = std::decay_t<decltype(e)>;
            if constexpr (std::is_same_v<E, InputEvent::KeyDown> || std::is_same_v<E, InputEvent::KeyUp>)
                return std::nullopt;
            else
                return Point{e.x, e.y};
        },
        value);
}

namespace {

template <class E>
E decodePointed(const JsonObjectIn& p) {
    E e;
    e.time = p.required<ProjectTime>("time");
    e.x = p.required<double>("x");
    e.y = p.required<double>("y");
    return e;
}

template <class E>
JsonObjectOut encodePointed(const E& e) {
    JsonObjectOut o;
    o.set("time", e.time).set("x", e.x).set("y", e.y);
    return o;
}

} // namespace

void fromJson(const JsonIn& in, InputEvent& out) {
    using E = InputEvent;
    const JsonTaggedIn tagged(in);
    if (tagged.is("leftMouseDown")) {
        out.value = decodePointed<E::LeftMouseDown>(tagged.payload());
    } else if (tagged.is("leftMouseUp")) {
        out.value = decodePointed<E::LeftMouseUp>(tagged.payload());
    } else if (tagged.is("rightMouseDown")) {
        out.value = decodePointed<E::RightMouseDown>(tagged.payload());
    } else if (tagged.is("rightMouseUp")) {
        out.value = decodePointed<E::RightMouseUp>(tagged.payload());
    } else if (tagged.is("otherMouseDown")) {
        const JsonObjectIn p = tagged.payload();
        auto e = decodePointed<E::OtherMouseDown>(p);
        e.buttonNumber = p.required<int>("buttonNumber");
        out.value = e;
    } else if (tagged.is("scroll")) {
        const JsonObjectIn p = tagged.payload();
        auto e = decodePointed<E::Scroll>(p);
        e.dx = p.required<double>("dx");
        e.dy = p.required<double>("dy");
        out.value = e;
    } else if (tagged.is("keyDown")) {
        const JsonObjectIn p = tagged.payload();
        out.value = E::KeyDown{p.required<ProjectTime>("time"), p.required<int>("keyCode"),
                               p.required<QString>("characters"), p.required<int>("modifiers")};
    } else if (tagged.is("keyUp")) {
        const JsonObjectIn p = tagged.payload();
        out.value = E::KeyUp{p.required<ProjectTime>("time"), p.required<int>("keyCode")};
    } else {
        tagged.failUnknownCase("InputEvent");
    }
}

JsonValue toJson(const InputEvent& value) {
    using E = InputEvent;
    return std::visit(
        [](const auto& e) -> JsonValue {
            using T = std::decay_t<decltype(e)>;
            if constexpr (std::is_same_v<T, E::LeftMouseDown>) {
                return taggedJson("leftMouseDown", encodePointed(e).take());
            } else if constexpr (std::is_same_v<T, E::LeftMouseUp>) {
                return taggedJson("leftMouseUp", encodePointed(e).take());
            } else if constexpr (std::is_same_v<T, E::RightMouseDown>) {
                return taggedJson("rightMouseDown", encodePointed(e).take());
            } else if constexpr (std::is_same_v<T, E::RightMouseUp>) {
                return taggedJson("rightMouseUp", encodePointed(e).take());
            } else if constexpr (std::is_same_v<T, E::OtherMouseDown>) {
                return taggedJson("otherMouseDown",
                                  encodePointed(e).set("buttonNumber", e.buttonNumber).take());
            } else if constexpr (std::is_same_v<T, E::Scroll>) {
                return taggedJson("scroll", encodePointed(e).set("dx", e.dx).set("dy", e.dy).take());
            } else if constexpr (std::is_same_v<T, E::KeyDown>) {
                JsonObjectOut o;
                o.set("time", e.time)
                    .set("keyCode", e.keyCode)
                    .set("characters", e.characters)
                    .set("modifiers", e.modifiers);
                return taggedJson("keyDown", o.take());
            } else {
                JsonObjectOut o;
                o.set("time", e.time).set("keyCode", e.keyCode);
                return taggedJson("keyUp", o.take());
            }
        },
        value.value);
}

} // namespace orvane
