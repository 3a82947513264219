#pragma once

#include "project/Geometry.h"

#include <cmath>

namespace orvane {

// A 2D affine map in the platform's convention: x' = a x + c y + tx, y' = b x + d y + ty. The builder
// methods post-multiply, as the compositor's stage descriptions do: in
// `identity().translatedBy(...).scaledBy(...)` the step written last acts first on a point.
struct AffineTransform {
    double a = 1;
    double b = 0;
    double c = 0;
    double d = 1;
    double tx = 0;
    double ty = 0;

    static constexpr AffineTransform identity() { return {}; }
    static constexpr AffineTransform translation(double x, double y) { return {1, 0, 0, 1, x, y}; }
    static constexpr AffineTransform scale(double sx, double sy) { return {sx, 0, 0, sy, 0, 0}; }
    // Counter-clockwise in y-up coordinates for a positive angle.
    static AffineTransform rotation(double radians) {
        const double cs = std::cos(radians);
        const double sn = std::sin(radians);
        return {cs, sn, -sn, cs, 0, 0};
    }

    // `first` applied, then this.
    AffineTransform after(const AffineTransform& first) const {
        return {a * first.a + c * first.b,        b * first.a + d * first.b,
                a * first.c + c * first.d,        b * first.c + d * first.d,
                a * first.tx + c * first.ty + tx, b * first.tx + d * first.ty + ty};
    }
    AffineTransform translatedBy(double x, double y) const { return after(translation(x, y)); }
    AffineTransform scaledBy(double sx, double sy) const { return after(scale(sx, sy)); }
    AffineTransform rotatedBy(double radians) const { return after(rotation(radians)); }

    Point apply(Point p) const { return {a * p.x + c * p.y + tx, b * p.x + d * p.y + ty}; }
    double determinant() const { return a * d - b * c; }
    bool isTranslation() const { return a == 1 && b == 0 && c == 0 && d == 1; }
    // None when the map is singular.
    bool inverted(AffineTransform& out) const {
        const double det = determinant();
        if (!std::isfinite(det) || std::abs(det) < 1e-12)
            return false;
        out = {d / det, -b / det, -c / det, a / det, (c * ty - d * tx) / det, (b * tx - a * ty) / det};
        return true;
    }
    // The bounding box of a rectangle's four mapped corners.
    Rect apply(const Rect& r) const {
        const Point p[4] = {apply(Point{r.minX(), r.minY()}), apply(Point{r.maxX(), r.minY()}),
                            apply(Point{r.minX(), r.maxY()}), apply(Point{r.maxX(), r.maxY()})};
        double x0 = p[0].x, x1 = p[0].x, y0 = p[0].y, y1 = p[0].y;
        for (const Point& q : p) {
            x0 = std::min(x0, q.x);
            x1 = std::max(x1, q.x);
            y0 = std::min(y0, q.y);
            y1 = std::max(y1, q.y);
        }
        return {x0, y0, x1 - x0, y1 - y0};
    }
    bool operator==(const AffineTransform&) const = default;
};

} // namespace orvane
