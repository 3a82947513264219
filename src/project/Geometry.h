#pragma once

#include <algorithm>
#include <cmath>

namespace orvane {

// Plain 64-bit geometry in pixels or points, the stand-in for the platform's point, size and rectangle.
struct Point {
    double x = 0;
    double y = 0;

    double distance(Point o) const { return std::hypot(x - o.x, y - o.y); }
    Point operator+(Point o) const { return {x + o.x, y + o.y}; }
    Point operator-(Point o) const { return {x - o.x, y - o.y}; }
    Point operator*(double s) const { return {x * s, y * s}; }
    bool operator==(const Point&) const = default;
};

struct Size {
    double width = 0;
    double height = 0;

    bool operator==(const Size&) const = default;
};

struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    static Rect fromOriginSize(Point origin, Size size) {
        return {origin.x, origin.y, size.width, size.height};
    }

    double minX() const { return x; }
    double minY() const { return y; }
    double maxX() const { return x + width; }
    double maxY() const { return y + height; }
    double midX() const { return x + width * 0.5; }
    double midY() const { return y + height * 0.5; }
    Point origin() const { return {x, y}; }
    Size size() const { return {width, height}; }
    Point center() const { return {midX(), midY()}; }
    bool isEmpty() const { return width <= 0 || height <= 0; }

    // width / height; 1 when the height is not positive, so callers never divide by zero.
    double aspectRatio() const { return height > 0 ? width / height : 1.0; }
    Rect insetUniform(double by) const { return {x + by, y + by, width - 2 * by, height - 2 * by}; }
    // Same centre, both sides multiplied.
    Rect scaled(double by) const { return centered(Size{width * by, height * by}, center()); }
    // Aspect-fit into `outer`, centred on its midpoint.
    Rect fitting(const Rect& outer) const;
    // Aspect-fill of `outer`, centred on its midpoint.
    Rect filling(const Rect& outer) const;
    // Same size, pushed inside `outer`; the maximum edge is tested last, so a rectangle larger than
    // `outer` ends flush with its maximum edge.
    Rect clamped(const Rect& outer) const;
    Rect centered(Point on) const { return centered(size(), on); }
    bool contains(Point p) const { return p.x >= minX() && p.x < maxX() && p.y >= minY() && p.y < maxY(); }

    bool operator==(const Rect&) const = default;

private:
    static Rect centered(Size s, Point on) {
        return {on.x - s.width * 0.5, on.y - s.height * 0.5, s.width, s.height};
    }
};

// A point as fractions of some reference rectangle, origin at its minimum corner.
struct NormalizedPoint {
    double x = 0;
    double y = 0;

    static constexpr NormalizedPoint center() { return {0.5, 0.5}; }
    Point denormalized(const Rect& in) const { return {in.minX() + in.width * x, in.minY() + in.height * y}; }

    bool operator==(const NormalizedPoint&) const = default;
};

// A rectangle as fractions of some reference rectangle.
struct NormalizedRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    static constexpr NormalizedRect unit() { return {0, 0, 1, 1}; }
    // The inverse of denormalized: `rect` expressed as fractions of `bounds`.
    static NormalizedRect fromRect(const Rect& rect, const Rect& bounds) {
        return {(rect.minX() - bounds.minX()) / bounds.width, (rect.minY() - bounds.minY()) / bounds.height,
                rect.width / bounds.width, rect.height / bounds.height};
    }

    NormalizedPoint center() const { return {x + width * 0.5, y + height * 0.5}; }
    Rect denormalized(const Rect& in) const {
        return {in.minX() + in.width * x, in.minY() + in.height * y, in.width * width, in.height * height};
    }

    bool operator==(const NormalizedRect&) const = default;
};

inline Rect Rect::fitting(const Rect& outer) const {
    const double s = std::min(outer.width / width, outer.height / height);
    return centered(Size{width * s, height * s}, outer.center());
}

inline Rect Rect::filling(const Rect& outer) const {
    const double s = std::max(outer.width / width, outer.height / height);
    return centered(Size{width * s, height * s}, outer.center());
}

inline Rect Rect::clamped(const Rect& outer) const {
    Rect r = *this;
    if (r.x < outer.minX())
        r.x = outer.minX();
    if (r.y < outer.minY())
        r.y = outer.minY();
    if (r.maxX() > outer.maxX())
        r.x = outer.maxX() - r.width;
    if (r.maxY() > outer.maxY())
        r.y = outer.maxY() - r.height;
    return r;
}

} // namespace orvane

#include "JsonFwd.h"

namespace orvane {
void fromJson(const JsonIn& in, NormalizedPoint& out);
JsonValue toJson(const NormalizedPoint& value);
void fromJson(const JsonIn& in, NormalizedRect& out);
JsonValue toJson(const NormalizedRect& value);
} // namespace orvane
