#include "DemoSource.h"

#include "SystemFont.h"
#include "project/Project.h"

#include <QLinearGradient>
#include <QPainter>

#include <cmath>

namespace orvane {

namespace {

const Point clickAt{0.62, 0.4};

void drawWindow(QPainter& p, const QRectF& r, const QString& title, const QColor& accent, double unit) {
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(250, 250, 252));
    p.drawRoundedRect(r, unit * 0.8, unit * 0.8);
    p.setBrush(QColor(228, 228, 233));
    p.drawRect(QRectF(r.left(), r.top(), r.width(), unit * 2.6));
    const QColor lights[3] = {QColor(255, 94, 87), QColor(255, 189, 46), QColor(40, 200, 64)};
    for (int i = 0; i < 3; ++i) {
        p.setBrush(lights[i]);
        p.drawEllipse(QPointF(r.left() + unit * (1.4 + 1.6 * i), r.top() + unit * 1.3), unit * 0.55,
                      unit * 0.55);
    }
    if (SystemFont::isAvailable()) {
        p.setPen(QColor(60, 60, 66));
        p.setFont(SystemFont::font(unit * 1.1, QFont::Medium));
        p.drawText(QRectF(r.left(), r.top(), r.width(), unit * 2.6), Qt::AlignCenter, title);
        p.setPen(Qt::NoPen);
    }
    // Lines of "text" and a row of tiles, so zoom and scaling have detail to show.
    for (int line = 0; line < 8; ++line) {
        p.setBrush(line == 0 ? accent : QColor(200, 202, 210));
        const double w = r.width() * (line == 0 ? 0.45 : 0.85 - 0.07 * (line % 4));
        p.drawRoundedRect(QRectF(r.left() + unit * 1.5, r.top() + unit * (4 + 1.6 * line), w, unit * 0.7),
                          unit * 0.3, unit * 0.3);
    }
    for (int k = 0; k < 4; ++k) {
        QColor c = accent;
        c.setHsv((accent.hue() + 40 * k) % 360, 160, 230);
        p.setBrush(c);
        const double side = (r.width() - unit * 3 - unit * 3) / 4;
        p.drawRoundedRect(
            QRectF(r.left() + unit * 1.5 + k * (side + unit), r.bottom() - side - unit * 1.5, side, side),
            unit * 0.6, unit * 0.6);
    }
}

} // namespace

Image DemoSource::image(int width, int height) {
    Image out = Image::allocate(width, height);
    if (out.isNull())
        return out;
    {
        QImage target = out.paintableView();
        QPainter p(&target);
        p.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
        QLinearGradient desk(0, 0, width, height);
        desk.setColorAt(0, QColor(32, 58, 96));
        desk.setColorAt(1, QColor(18, 24, 40));
        p.fillRect(QRectF(0, 0, width, height), desk);
        const double unit = height / 54.0;
        // A menu bar across the top.
        p.fillRect(QRectF(0, 0, width, unit * 1.6), QColor(240, 240, 245, 220));
        drawWindow(p, QRectF(width * 0.06, height * 0.1, width * 0.5, height * 0.62), QStringLiteral("Notes"),
                   QColor(255, 149, 0), unit);
        drawWindow(p, QRectF(width * 0.45, height * 0.28, width * 0.48, height * 0.6),
                   QStringLiteral("Editor"), QColor(88, 86, 214), unit);
        // A target where the click lands, so a zoom on it has something to centre on.
        p.setPen(QPen(QColor(255, 59, 48), unit * 0.3));
        p.setBrush(Qt::NoBrush);
        const QPointF c(width * clickAt.x, height * clickAt.y);
        p.drawEllipse(c, unit * 1.5, unit * 1.5);
        p.drawEllipse(c, unit * 0.6, unit * 0.6);
    }
    out.setOpaque(true);
    return out;
}

CursorTrack DemoSource::cursor(Size source) {
    CursorTrack track;
    const int count = int(duration * 120) + 1;
    track.samples.reserve(std::size_t(count));
    for (int i = 0; i < count; ++i) {
        const double t = i / 120.0;
        // Eases into the click point, rests there through the click, then drifts down and right.
        double x, y;
        if (t < clickTime) {
            const double u = t / clickTime;
            const double e = u * u * (3 - 2 * u);
            x = 0.2 + (clickAt.x - 0.2) * e;
            y = 0.75 + (clickAt.y - 0.75) * e;
        } else {
            const double u = std::min((t - clickTime) / (duration - clickTime), 1.0);
            x = clickAt.x + 0.15 * u;
            y = clickAt.y + 0.2 * u * u;
        }
        track.samples.push_back({ProjectTime(t), x * source.width, y * source.height, 0});
    }
    return track;
}

EventTrack DemoSource::events(Size source) {
    const double x = clickAt.x * source.width;
    const double y = clickAt.y * source.height;
    EventTrack track;
    track.events.push_back({InputEvent::LeftMouseDown{ProjectTime(clickTime), x, y}});
    track.events.push_back({InputEvent::LeftMouseUp{ProjectTime(clickTime + 0.12), x, y}});
    return track;
}

Clip DemoSource::clip(Size source) {
    Clip clip = Project().makeClip(QStringLiteral("Demo"), ProjectTime(duration), source);
    // A fixed id: the demo is the same clip each time it is made.
    clip.id = QUuid::createUuidV5(QUuid(), QStringLiteral("demo"));
    clip.sourceVideoPath = QStringLiteral("demo.mov");
    const NormalizedRect wide = NormalizedRect::unit();
    const double w = 1 / 1.8;
    const NormalizedRect close{std::clamp(clickAt.x - w / 2, 0.0, 1 - w),
                               std::clamp(clickAt.y - w / 2, 0.0, 1 - w), w, w};
    clip.zoomTrack = KeyframeTrack<NormalizedRect>({{ProjectTime(0.4), wide, EasingCurve::easeInOut()},
                                                    {ProjectTime(1.0), close, EasingCurve::linear()},
                                                    {ProjectTime(2.2), close, EasingCurve::easeInOut()},
                                                    {ProjectTime(2.8), wide, EasingCurve::linear()}});
    return clip;
}

} // namespace orvane
