// Writes a contact sheet of the looks for a person to look at; checks only that every tile was drawn.
#include "RenderingTestSupport.h"
#include "rendering/Compositor.h"
#include "rendering/DemoSource.h"
#include "rendering/Wallpapers.h"

#include <QDir>
#include <QPainter>

#include <gtest/gtest.h>

namespace orvane {
namespace {

struct Look {
    QString label;
    Clip clip;
};

std::vector<Look> looks(const Clip& base) {
    std::vector<Look> out;
    const auto add = [&](QString label, auto change) {
        Clip c = base;
        change(c);
        out.push_back({std::move(label), std::move(c)});
    };
    add(QStringLiteral("default"), [](Clip&) {});
    const auto& gradients = BackgroundStyle::presetGradients();
    for (std::size_t i = 0; i < gradients.size(); i += 2)
        add(gradients[i].name, [&](Clip& c) { c.background = BackgroundStyle::gradient(gradients[i].fill); });
    for (const QString& name : Wallpapers::names())
        add(name, [&](Clip& c) { c.background = BackgroundStyle::wallpaper(name); });
    add(QStringLiteral("solid, dramatic"), [](Clip& c) {
        c.background = BackgroundStyle::solid(RGBAColor{0.93, 0.93, 0.95, 1});
        c.frame.shadow = ShadowStyle::dramatic();
    });
    add(QStringLiteral("blurred"), [](Clip& c) { c.background = BackgroundStyle::blurredExtension(30); });
    add(QStringLiteral("window light"), [](Clip& c) {
        c.frame.chrome =
            ChromeStyle::macOSWindow(QStringLiteral("Quarterly Report"), ChromeStyle::WindowTheme::light);
    });
    add(QStringLiteral("window auto"), [](Clip& c) {
        c.frame.chrome =
            ChromeStyle::macOSWindow(QStringLiteral("Terminal"), ChromeStyle::WindowTheme::auto_);
    });
    add(QStringLiteral("browser arc"), [](Clip& c) {
        c.frame.chrome =
            ChromeStyle::browser(ChromeStyle::BrowserTheme::arc, QStringLiteral("orvane.example/docs"));
    });
    add(QStringLiteral("browser chrome light"), [](Clip& c) {
        c.frame.chrome =
            ChromeStyle::browser(ChromeStyle::BrowserTheme::chromeLight, QStringLiteral("example.org"));
    });
    const ChromeStyle::MobileDevice devices[] = {
        ChromeStyle::MobileDevice::iPhone15Pro, ChromeStyle::MobileDevice::iPhone15,
        ChromeStyle::MobileDevice::iPadPro, ChromeStyle::MobileDevice::pixel8};
    for (auto d : devices)
        add(QString::fromLatin1(enumEntries(d)[std::size_t(d)].name.data(),
                                qsizetype(enumEntries(d)[std::size_t(d)].name.size())),
            [&](Clip& c) { c.frame.chrome = ChromeStyle::mobile(d); });
    add(QStringLiteral("perspective"), [](Clip& c) {
        c.frame.perspective = PerspectiveStyle{true, 0.6, -0.4, 0.8};
        c.frame.chrome = ChromeStyle::macOSWindow(QStringLiteral("Tilted"), ChromeStyle::WindowTheme::dark);
    });
    add(QStringLiteral("camera"), [](Clip& c) { c.camera.isEnabled = true; });
    return out;
}

TEST(ContactSheet, drawsEveryLookIntoOneSheet) {
    const Size source{1920, 1080};
    const Size tileSize{480, 270};
    const Image picture = DemoSource::image(int(source.width), int(source.height));
    const Clip base = DemoSource::clip(source);
    const CursorTrack cursor = DemoSource::cursor(source);
    const EventTrack events = DemoSource::events(source);
    const std::vector<Look> all = looks(base);
    const int columns = 4;
    const int rows = int((all.size() + columns - 1) / columns);
    QImage sheet(columns * int(tileSize.width), rows * int(tileSize.height + 20),
                 QImage::Format_ARGB32_Premultiplied);
    sheet.fill(QColor(30, 30, 30));
    QPainter painter(&sheet);
    painter.setPen(Qt::white);
    for (std::size_t i = 0; i < all.size(); ++i) {
        Compositor compositor(tileSize);
        if (all[i].clip.camera.isEnabled)
            compositor.setCurrentCameraFrame(DemoSource::image(640, 480));
        // Just after the click, zoomed in, with the ring half grown.
        const auto image = compositor.renderToImage(
            picture, all[i].clip, ProjectTime(DemoSource::clickTime + 0.25), cursor, events);
        ASSERT_TRUE(image.has_value()) << all[i].label.toStdString();
        EXPECT_NE(image->pixel(int(tileSize.width / 2), int(tileSize.height / 2)), 0u)
            << all[i].label.toStdString();
        const int x = int(i % columns) * int(tileSize.width);
        const int y = int(i / columns) * int(tileSize.height + 20);
        painter.drawImage(x, y, *image);
        painter.drawText(QRectF(x + 4, y + tileSize.height, tileSize.width - 8, 20), Qt::AlignVCenter,
                         all[i].label);
    }
    painter.end();
    const QString path = QDir::current().filePath(QStringLiteral("rendering-contact-sheet.png"));
    ASSERT_TRUE(sheet.save(path));
    std::printf("contact sheet: %s\n", qPrintable(path));
}

} // namespace
} // namespace orvane
