#include "BundlePreviewRenderer.h"

#include "project/ProjectBundle.h"

#include <QBuffer>
#include <QDir>
#include <QFont>
#include <QImageWriter>
#include <QLinearGradient>
#include <QPainter>

#include <cmath>

namespace orvane {

namespace {

std::optional<QImage> firstStripFrame(const Project& project, const QString& bundlePath) {
    if (project.timeline.clips.empty())
        return std::nullopt;
    const QDir strip(QDir(bundlePath)
                         .filePath(QStringLiteral("thumbnails/clip-%1-strip")
                                       .arg(uuidString(project.timeline.clips.front().id))));
    QStringList jpegs;
    for (const QString& name : strip.entryList(QDir::Files, QDir::Name))
        if (name.endsWith(QStringLiteral(".jpg"), Qt::CaseInsensitive))
            jpegs << name;
    if (jpegs.isEmpty())
        return std::nullopt;
    QImage image(strip.filePath(jpegs.front()));
    if (image.isNull())
        return std::nullopt;
    return image;
}

QImage gradientCard(const QString& name) {
    constexpr int width = 512;
    constexpr int height = 320;
    QImage image(width, height, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    // The gradient runs at -65 degrees through the centre, from violet to near black.
    const double radians = -65.0 * M_PI / 180.0;
    const QPointF centre(width / 2.0, height / 2.0);
    const double reach = (std::abs(std::cos(radians)) * width + std::abs(std::sin(radians)) * height) / 2.0;
    const QPointF direction(std::cos(radians) * reach, -std::sin(radians) * reach);
    QLinearGradient gradient(centre - direction, centre + direction);
    gradient.setColorAt(0, QColor::fromRgbF(0.45f, 0.2f, 0.78f));
    gradient.setColorAt(1, QColor::fromRgbF(0.1f, 0.05f, 0.2f));
    painter.fillRect(image.rect(), gradient);

    QFont font(QStringLiteral("Inter"));
    font.setPixelSize(28);
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(image.rect(), Qt::AlignCenter | Qt::TextWordWrap, name);
    return image;
}

} // namespace

QImage BundlePreviewRenderer::render(const Project& project, const QString& bundlePath) {
    if (auto frame = firstStripFrame(project, bundlePath))
        return *frame;
    return gradientCard(project.name);
}

std::optional<QByteArray> BundlePreviewRenderer::renderJPEG(const Project& project,
                                                            const QString& bundlePath) {
    const QImage image = render(project, bundlePath);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(85);
    if (!writer.write(image))
        return std::nullopt;
    return bytes;
}

void BundlePreviewRenderer::install() {
    ProjectBundle::setPreviewRenderer(&BundlePreviewRenderer::renderJPEG);
}

} // namespace orvane
