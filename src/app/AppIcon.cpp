#include "AppIcon.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

namespace orvane {

QImage AppIcon::render(int size) {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (size <= 0)
        return image;
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const double s = size;

    // The tile: a margin as the desktop's own icons keep, so the icon sits level with them.
    const QRectF tile(s * 0.06, s * 0.06, s * 0.88, s * 0.88);
    QLinearGradient violet(tile.topLeft(), tile.bottomRight());
    violet.setColorAt(0, QColor(0x8b, 0x5c, 0xf6));
    violet.setColorAt(1, QColor(0x4c, 0x1d, 0x95));
    painter.setPen(Qt::NoPen);
    painter.setBrush(violet);
    painter.drawRoundedRect(tile, s * 0.2, s * 0.2);

    if (size >= 32) {
        // The screen being recorded.
        const QRectF screen(s * 0.2, s * 0.26, s * 0.6, s * 0.42);
        QPen outline(QColor(255, 255, 255, 235), s * 0.05);
        outline.setJoinStyle(Qt::RoundJoin);
        painter.setPen(outline);
        painter.setBrush(QColor(255, 255, 255, 40));
        painter.drawRoundedRect(screen, s * 0.05, s * 0.05);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(255, 255, 255, 235));
        painter.drawRoundedRect(QRectF(s * 0.4, s * 0.72, s * 0.2, s * 0.045), s * 0.02, s * 0.02);
    }

    // The recording dot, ringed in white so it reads on the tile at any size.
    const QPointF dot = size >= 32 ? QPointF(s * 0.72, s * 0.66) : QPointF(s * 0.5, s * 0.5);
    const double radius = size >= 32 ? s * 0.13 : s * 0.22;
    painter.setBrush(Qt::white);
    painter.drawEllipse(dot, radius * 1.28, radius * 1.28);
    painter.setBrush(QColor(0xff, 0x4d, 0x5e));
    painter.drawEllipse(dot, radius, radius);
    return image;
}

} // namespace orvane
