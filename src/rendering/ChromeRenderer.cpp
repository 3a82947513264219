#include "ChromeRenderer.h"

#include "SystemFont.h"

#include <QFontMetricsF>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace orvane {

namespace {

QColor gray(double level, double alpha = 1) {
    return QColor::fromRgbF(float(level), float(level), float(level), float(alpha));
}

QColor rgb(double r, double g, double b, double a = 1) {
    return QColor::fromRgbF(float(r), float(g), float(b), float(a));
}

// A bar bitmap, or none when either side is below a pixel.
std::optional<Image> barBitmap(const Rect& frame, double height) {
    const double w = std::ceil(frame.width);
    const double h = std::ceil(height);
    if (!(w >= 1 && h >= 1) || w > 1e5)
        return std::nullopt;
    Image image = Image::cleared(int(w), int(h));
    if (image.isNull())
        return std::nullopt;
    return image;
}

// Round at the top only, so the bar sits on the picture below it.
QPainterPath barShape(double w, double h, double r) {
    QPainterPath p;
    p.moveTo(0, r);
    p.quadTo(0, 0, r, 0);
    p.lineTo(w - r, 0);
    p.quadTo(w, 0, w, r);
    p.lineTo(w, h);
    p.lineTo(0, h);
    p.closeSubpath();
    return p;
}

void drawTrafficLights(QPainter& painter, double y) {
    const QColor fills[3] = {rgb(1, 0.37, 0.34), rgb(1, 0.74, 0.18), rgb(0.16, 0.78, 0.25)};
    const double xs[3] = {8, 28, 48};
    painter.setPen(QPen(gray(0, 0.18), 0.5));
    for (int i = 0; i < 3; ++i) {
        painter.setBrush(fills[i]);
        painter.drawEllipse(QRectF(xs[i], y, 12, 12));
    }
}

void drawBottomLine(QPainter& painter, double w, double h, double alpha) {
    painter.setPen(QPen(gray(0, alpha), 1));
    painter.drawLine(QPointF(0, h - 0.5), QPointF(w, h - 0.5));
}

void place(Image& image, const Rect& frame, double canvasHeight) {
    image.setOrigin({frame.minX(), canvasHeight - frame.minY() - image.height()});
}

} // namespace

ChromeRenderer::Result ChromeRenderer::drawChrome(const ChromeStyle& style, const Rect& c,
                                                  double canvasHeight) {
    if (const auto* window = std::get_if<ChromeStyle::MacOSWindow>(&style.value)) {
        return {Rect{c.minX(), c.minY() + windowBarHeight, c.width, c.height - windowBarHeight},
                renderMacOSWindowChrome(window->title, window->theme, c, windowBarHeight, barCornerRadius,
                                        canvasHeight)};
    }
    if (const auto* browser = std::get_if<ChromeStyle::Browser>(&style.value)) {
        return {Rect{c.minX(), c.minY() + browserBarHeight, c.width, c.height - browserBarHeight},
                renderBrowserChrome(browser->theme, browser->urlText.value_or(QString()), c, browserBarHeight,
                                    barCornerRadius, canvasHeight)};
    }
    if (const auto* mobile = std::get_if<ChromeStyle::Mobile>(&style.value))
        return renderMobileDeviceFrame(mobile->device, c, canvasHeight);
    return {c, std::nullopt};
}

std::optional<Image> ChromeRenderer::renderMacOSWindowChrome(const QString& title,
                                                             ChromeStyle::WindowTheme theme,
                                                             const Rect& frame, double titleBarHeight,
                                                             double cornerRadius, double canvasHeight) {
    std::optional<Image> image = barBitmap(frame, titleBarHeight);
    if (!image)
        return image;
    // Only `light` is light: `auto` follows no system appearance and draws the dark look.
    const bool light = theme == ChromeStyle::WindowTheme::light;
    const double w = image->width();
    const double h = image->height();
    {
        QImage target = image->paintableView();
        QPainter painter(&target);
        painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
        painter.setClipPath(barShape(w, h, cornerRadius));
        QLinearGradient gradient(0, 0, 0, h);
        gradient.setColorAt(0, light ? rgb(0.93, 0.93, 0.94) : rgb(0.24, 0.24, 0.27));
        gradient.setColorAt(1, light ? rgb(0.85, 0.85, 0.86) : rgb(0.17, 0.17, 0.19));
        painter.fillRect(QRectF(0, 0, w, h), gradient);
        drawTrafficLights(painter, h / 2 - 6);
        if (!title.isEmpty() && SystemFont::isAvailable()) {
            const QFont font = SystemFont::font(11, QFont::Medium);
            painter.setFont(font);
            painter.setPen(gray(light ? 0.2 : 0.88));
            const QFontMetricsF metrics(font);
            const QSizeF size(metrics.horizontalAdvance(title), metrics.height());
            painter.drawText(
                QRectF((w - size.width()) / 2, (h - size.height()) / 2, size.width(), size.height()),
                Qt::AlignLeft | Qt::AlignTop, title);
        }
        painter.setClipping(false);
        drawBottomLine(painter, w, h, light ? 0.15 : 0.35);
    }
    place(*image, frame, canvasHeight);
    return image;
}

std::optional<Image> ChromeRenderer::renderBrowserChrome(ChromeStyle::BrowserTheme theme,
                                                         const QString& urlText, const Rect& frame,
                                                         double titleBarHeight, double cornerRadius,
                                                         double canvasHeight) {
    std::optional<Image> image = barBitmap(frame, titleBarHeight);
    if (!image)
        return image;
    QColor fill;
    bool dark = true;
    switch (theme) {
    case ChromeStyle::BrowserTheme::safariLight:
        fill = rgb(0.93, 0.93, 0.94);
        dark = false;
        break;
    case ChromeStyle::BrowserTheme::safariDark:
        fill = rgb(0.22, 0.22, 0.24);
        break;
    case ChromeStyle::BrowserTheme::chromeLight:
        fill = rgb(0.95, 0.95, 0.96);
        dark = false;
        break;
    case ChromeStyle::BrowserTheme::chromeDark:
        fill = rgb(0.18, 0.18, 0.2);
        break;
    case ChromeStyle::BrowserTheme::arc:
        fill = rgb(0.1, 0.08, 0.18);
        break;
    }
    const double w = image->width();
    const double h = image->height();
    {
        QImage target = image->paintableView();
        QPainter painter(&target);
        painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
        painter.setClipPath(barShape(w, h, cornerRadius));
        painter.fillRect(QRectF(0, 0, w, h), fill);
        drawTrafficLights(painter, 8);

        QPen chevron(gray(dark ? 0.7 : 0.4, 0.95), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
        painter.setPen(chevron);
        painter.setBrush(Qt::NoBrush);
        const QPointF back[3] = {{90.4, 10}, {85.6, 16}, {90.4, 22}};
        const QPointF forward[3] = {{107.6, 10}, {112.4, 16}, {107.6, 22}};
        painter.drawPolyline(back, 3);
        painter.drawPolyline(forward, 3);

        const QRectF pill(130, 10, std::max(w - 60 - 130, 60.0), h - 20);
        painter.setPen(QPen(gray(0, 0.15), 0.5));
        painter.setBrush(dark ? rgb(0.08, 0.08, 0.1) : gray(1));
        painter.drawRoundedRect(pill, pill.height() / 2, pill.height() / 2);

        if (!urlText.isEmpty() && SystemFont::isAvailable()) {
            const QFont font = SystemFont::font(11, QFont::Normal);
            const QFontMetricsF metrics(font);
            const double textHeight = metrics.height();
            const double textY = pill.top() + (pill.height() - textHeight) / 2;
            painter.save();
            painter.setClipRect(QRectF(143, textY - 1, pill.width() - 28, textHeight + 2), Qt::IntersectClip);
            painter.setFont(font);
            painter.setPen(gray(dark ? 0.85 : 0.2));
            painter.drawText(QPointF(144, textY + metrics.ascent()), urlText);
            painter.restore();
        }
        painter.setClipping(false);
        drawBottomLine(painter, w, h, dark ? 0.35 : 0.15);
    }
    place(*image, frame, canvasHeight);
    return image;
}

ChromeRenderer::Device ChromeRenderer::device(ChromeStyle::MobileDevice device) {
    using D = ChromeStyle::MobileDevice;
    using F = Device::TopFeature;
    switch (device) {
    case D::iPhone15Pro:
        return {0.46153846, 0.035, 0.115, F::island, false, true};
    case D::iPhone15:
        return {0.46153846, 0.035, 0.115, F::pill, false, true};
    case D::iPadPro:
        return {0.75, 0.028, 0.045, F::none, true, false};
    case D::pixel8:
        return {0.45, 0.03, 0.1, F::none, true, true};
    }
    return {0.46153846, 0.035, 0.115, F::island, false, true};
}

ChromeRenderer::Result ChromeRenderer::renderMobileDeviceFrame(ChromeStyle::MobileDevice which, const Rect& c,
                                                               double canvasHeight) {
    const Device d = device(which);
    double h = c.height;
    double w = d.aspect * h;
    if (c.width < w) {
        w = c.width;
        h = w / d.aspect;
    }
    const Rect outer{c.midX() - w / 2, c.midY() - h / 2, w, h};
    const double m = std::min(w, h);
    const double b = d.bezel * m;
    const double q = d.corner * m;
    Result result{outer.insetUniform(b), std::nullopt};

    const double bw = std::ceil(w);
    const double bh = std::ceil(h);
    if (!(bw >= 1 && bh >= 1) || bw * bh > 1e9)
        return result;
    Image image = Image::cleared(int(bw), int(bh));
    if (image.isNull())
        return result;
    {
        QImage target = image.paintableView();
        QPainter painter(&target);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(gray(1, 0.08), 1));
        painter.setBrush(rgb(0.09, 0.09, 0.11));
        painter.drawRoundedRect(QRectF(0, 0, w, h), q, q);

        // The screen is cut out, so the picture shows through when the frame is laid over it.
        const double hole = std::max(q - b, 2.0);
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        painter.drawRoundedRect(QRectF(b, b, w - 2 * b, h - 2 * b), hole, hole);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);

        const auto centred = [&](double width, double height, double y, double radius, const QColor& color) {
            painter.setBrush(color);
            painter.drawRoundedRect(QRectF((w - width) / 2, y, width, height), radius, radius);
        };
        if (d.topFeature == Device::TopFeature::island)
            centred(0.32 * w, 0.7 * b, 0.35 * b, 0.35 * b, Qt::black);
        else if (d.topFeature == Device::TopFeature::pill)
            centred(0.4 * w, 0.8 * b, 0.25 * b, 0.4 * b, Qt::black);
        if (d.grayBar)
            centred(0.18 * w, 2, 0.45 * b, 0, rgb(0.2, 0.2, 0.22));
        // Drawn after the hole was cut, so it lies over the picture, as on the real device.
        if (d.homeBar)
            centred(0.32 * w, 4, h - 0.55 * b, 0, gray(1, 0.85));
    }
    image.setOrigin({outer.minX(), canvasHeight - outer.minY() - image.height()});
    result.image = std::move(image);
    return result;
}

} // namespace orvane
