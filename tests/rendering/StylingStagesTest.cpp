// Backgrounds from files, the camera bubble, and the fill transform.
#include "CompositorTestSupport.h"
#include "rendering/Wallpapers.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace orvane {
namespace {

using test::at;

struct Styling : test::FrameFixture {};

TEST_F(Styling, aBundledWallpaperFillsTheCanvasAndAMissingOneFallsBackToDarkGray) {
    ASSERT_FALSE(Wallpapers::names().isEmpty()) << "the Wallpapers resource folder is missing";
    // The inspector stores the bare name "default"; the file carries an extension.
    ASSERT_FALSE(Wallpapers::path(QStringLiteral("default")).isEmpty());
    clip.background = BackgroundStyle::wallpaper(QStringLiteral("default"));
    Compositor compositor(canvas);
    const Image background = compositor.renderBackground(clip.background);
    EXPECT_EQ(background.width(), 400);
    EXPECT_TRUE(background.isOpaque());
    // The file's own corner colours, scaled to fill: its top left is a violet, far from the fallback.
    EXPECT_GT(at(background, 1, 1).b, 80);

    clip.background = BackgroundStyle::wallpaper(QStringLiteral("no such wallpaper.png"));
    EXPECT_EQ(compose().pixel(5, 5), premultipliedArgb(0.08, 0.08, 0.1, 1));
    // Names are file names only: nothing outside the folder is reachable.
    EXPECT_TRUE(Wallpapers::path(QStringLiteral("../Wallpapers/default.png")).isEmpty());
}

TEST_F(Styling, aCustomImageIsScaledToFillAndCentred) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    // 100 by 50, left half red, right half blue: filling a 4:3 canvas crops its sides.
    QImage picture(100, 50, QImage::Format_RGB32);
    picture.fill(Qt::red);
    for (int y = 0; y < 50; ++y)
        for (int x = 50; x < 100; ++x)
            picture.setPixel(x, y, qRgb(0, 0, 255));
    const QString path = dir.filePath(QStringLiteral("picked.png"));
    ASSERT_TRUE(picture.save(path));
    clip.background = BackgroundStyle::customImage(path.toUtf8());
    Compositor compositor(canvas);
    const Image background = compositor.renderBackground(clip.background);
    // Scale 6: 600 by 300, centred, so x 0 to 400 of the canvas shows x 16.7 to 83.3 of the picture.
    EXPECT_EQ(background.pixel(2, 150), 0xFFFF0000u);
    EXPECT_EQ(background.pixel(190, 150), 0xFFFF0000u);
    EXPECT_EQ(background.pixel(203, 150), 0xFF0000FFu);
    // The picture's edge rows reach the canvas edge without fading.
    EXPECT_EQ(background.pixel(398, 299), 0xFF0000FFu);
    EXPECT_EQ(background.pixel(2, 0), 0xFFFF0000u);

    clip.background = BackgroundStyle::customImage(QByteArray("/nonexistent/picture.png"));
    EXPECT_EQ(compositor.renderBackground(clip.background).pixel(5, 5),
              premultipliedArgb(0.08, 0.08, 0.1, 1));
    // A blurred extension without a source to blur is its own dark colour.
    EXPECT_EQ(compositor.renderBackground(BackgroundStyle::blurredExtension(20)).pixel(5, 5),
              premultipliedArgb(0.05, 0.05, 0.08, 1));
}

TEST(ScaleToFill, coversTheTargetCentredAndGuardsEmptySizes) {
    const AffineTransform t = Compositor::scaleToFill(Size{100, 50}, Size{400, 400});
    EXPECT_EQ(t.apply(Rect{0, 0, 100, 50}), (Rect{-200, 0, 800, 400}));
    // Sides under a pixel count as one.
    const AffineTransform thin = Compositor::scaleToFill(Size{0, 10}, Size{300, 200});
    EXPECT_DOUBLE_EQ(thin.a, 300);
}

TEST_F(Styling, theCameraBubbleIsARoundMirroredPictureAtItsPosition) {
    // Left half red, right half blue.
    Image camera = Image::allocate(160, 120);
    for (int y = 0; y < 120; ++y)
        for (int x = 0; x < 160; ++x)
            reinterpret_cast<std::uint32_t*>(camera.row(y))[x] = x < 80 ? 0xFFFF0000u : 0xFF0000FFu;
    camera.setOpaque(true);
    clip.camera.isEnabled = true;
    clip.camera.position = NormalizedPoint{0.5, 0.5};
    clip.camera.sizeFraction = 0.5; // 150 pixels across, centred on (200, 150)
    Compositor compositor(canvas);
    compositor.setCurrentCameraFrame(camera);
    Image frame = compose(compositor);
    // Mirrored: the camera's right half (blue) shows on the left.
    EXPECT_EQ(at(frame, 160, 150).b, 255);
    EXPECT_EQ(at(frame, 240, 150).r, 255);
    // A circle: the square's corner shows the picture below, not the camera.
    const std::uint32_t below = compose().pixel(130, 80);
    EXPECT_EQ(frame.pixel(130, 80), below);

    clip.camera.mirror = false;
    clip.camera.shape = CameraOverlay::Shape::square;
    frame = compose(compositor);
    EXPECT_EQ(at(frame, 160, 150).r, 255);
    EXPECT_EQ(at(frame, 130, 80).r, 255);
    // Without a camera frame, or switched off, there is no bubble.
    compositor.setCurrentCameraFrame(std::nullopt);
    EXPECT_EQ(compose(compositor).pixel(160, 150), compose().pixel(160, 150));
}

TEST_F(Styling, backgroundRemovalWithoutAMaskLeavesTheCameraAsItIs) {
    const Image camera = test::coordinateSource(64, 48);
    Compositor compositor(canvas);
    for (const auto mode :
         {CameraOverlay::BackgroundRemovalMode::blur, CameraOverlay::BackgroundRemovalMode::transparent}) {
        const Image out = compositor.applyBackgroundRemoval(camera, mode);
        EXPECT_EQ(out.constRow(0), camera.constRow(0));
    }
    // With a mask, what it leaves out is cleared or blurred.
    Image mask = Image::cleared(64, 48, PixelFormat::gray8);
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 32; ++x)
            mask.row(y)[x] = 255;
    const Image cleared =
        Compositor::removeBackground(camera, mask, CameraOverlay::BackgroundRemovalMode::transparent);
    EXPECT_EQ(cleared.pixel(10, 10), camera.pixel(10, 10));
    EXPECT_EQ(cleared.pixel(50, 10), 0u);
    const Image blurred =
        Compositor::removeBackground(camera, mask, CameraOverlay::BackgroundRemovalMode::blur);
    EXPECT_EQ(blurred.pixel(10, 10), camera.pixel(10, 10));
    EXPECT_EQ(at(blurred, 50, 10).a, 255);
    EXPECT_NE(blurred.pixel(50, 10), camera.pixel(50, 10));
}

} // namespace
} // namespace orvane
