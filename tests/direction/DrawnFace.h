#pragma once

// A cartoon face that OpenCV's frontal-face cascade takes for a face: a skin-toned oval under dark hair,
// brows, eyes, a shaded nose and a mouth. Tests of face tracking need no photographs.

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QPointF>

#include <initializer_list>
#include <utility>

namespace orvane::test {

// Faces of `size` pixels (about the height of the oval's half) centred at each point, on a dark blue.
inline QImage drawnFaces(int width, int height, std::initializer_list<std::pair<QPointF, double>> faces) {
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(QColor(40, 60, 90));
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    for (const auto& [c, s] : faces) {
        p.setBrush(QColor(30, 20, 15));
        p.drawEllipse(c + QPointF(0, -0.25 * s), 0.55 * s, 0.5 * s);
        p.setBrush(QColor(225, 180, 150));
        p.drawEllipse(c, 0.42 * s, 0.55 * s);
        p.setBrush(QColor(60, 40, 30));
        p.drawRoundedRect(QRectF(c.x() - 0.32 * s, c.y() - 0.2 * s, 0.22 * s, 0.05 * s), 3, 3);
        p.drawRoundedRect(QRectF(c.x() + 0.10 * s, c.y() - 0.2 * s, 0.22 * s, 0.05 * s), 3, 3);
        p.setBrush(QColor(30, 25, 25));
        p.drawEllipse(c + QPointF(-0.2 * s, -0.08 * s), 0.09 * s, 0.05 * s);
        p.drawEllipse(c + QPointF(0.2 * s, -0.08 * s), 0.09 * s, 0.05 * s);
        p.setBrush(QColor(190, 140, 115));
        p.drawEllipse(c + QPointF(0, 0.1 * s), 0.06 * s, 0.1 * s);
        p.setBrush(QColor(140, 60, 60));
        p.drawEllipse(c + QPointF(0, 0.3 * s), 0.16 * s, 0.05 * s);
    }
    return image;
}

} // namespace orvane::test
