// The preset table, the writer settings a configuration turns into, and the export sheet's rules: what
// a preset sets, the size estimate, the labels and the configuration it submits.
#include "ExportTestSupport.h"
#include "export/ExportSheetModel.h"
#include "export/Exporter.h"

#include <gtest/gtest.h>

namespace orvane {
namespace {

using Codec = ExportConfiguration::Codec;
using Container = ExportConfiguration::Container;
using Preset = ExportConfiguration::Preset;
using Sheet = ExportSheetModel;

TEST(ExportPreset, tableOfSizesRatesAndBitRates) {
    struct Row {
        Preset preset;
        Size size;
        int rate;
        std::int64_t bits;
    };
    for (const Row& row :
         {Row{Preset::web1080(), {1920, 1080}, 60, 12'000'000},
          Row{Preset::web4K(), {3840, 2160}, 60, 48'000'000},
          Row{Preset::socialSquare(), {1080, 1080}, 60, 8'000'000},
          Row{Preset::socialVertical(), {1080, 1920}, 60, 8'000'000}, Row{Preset::gif(), {800, 600}, 24, 0},
          Row{Preset::custom(640, 360, 25, 2'500'000), {640, 360}, 25, 2'500'000}}) {
        SCOPED_TRACE(enumString(row.preset.kind).toStdString());
        EXPECT_EQ(row.preset.size(), row.size);
        EXPECT_EQ(row.preset.frameRate(), row.rate);
        EXPECT_EQ(row.preset.bitRate(), row.bits);
    }
    ExportConfiguration c;
    EXPECT_EQ(c.fileExtension(), QStringLiteral("mp4"));
    c.container = Container::mov;
    EXPECT_EQ(c.fileExtension(), QStringLiteral("mov"));
    c.container = Container::gif;
    EXPECT_EQ(c.fileExtension(), QStringLiteral("gif"));
}

TEST(ExportWriterSettings, followThePresetAndLeaveTheBitRateOutWhereThereIsNone) {
    ExportConfiguration c;
    c.preset = Preset::web1080();
    MediaWriterSettings s = Exporter::makeVideoSettings(c, true);
    ASSERT_TRUE(s.video);
    EXPECT_EQ(s.container, ContainerFormat::mp4);
    EXPECT_EQ(s.video->codec, VideoCodec::h264);
    EXPECT_EQ(s.video->width, 1920);
    EXPECT_EQ(s.video->height, 1080);
    EXPECT_EQ(s.video->frameRate, 60);
    EXPECT_EQ(s.video->keyframeInterval, 60) << "a key frame at least once a second";
    EXPECT_EQ(s.video->bitRate, std::optional<std::int64_t>(12'000'000));
    ASSERT_EQ(s.audio.size(), 1u);
    EXPECT_EQ(s.audio[0], (AudioEncoderSettings{48000, 2, 192000}));
    EXPECT_TRUE(Exporter::makeVideoSettings(c, false).audio.empty());

    // ProRes takes no bit rate, whatever the preset says.
    c.preset = Preset::web4K();
    c.codec = Codec::prores;
    c.container = Container::mov;
    s = Exporter::makeVideoSettings(c, false);
    EXPECT_EQ(s.container, ContainerFormat::mov);
    EXPECT_EQ(s.video->codec, VideoCodec::prores422);
    EXPECT_EQ(s.video->width, 3840);
    EXPECT_FALSE(s.video->bitRate);

    // A rate of 0 means none is set.
    c.codec = Codec::hevc;
    c.preset = Preset::custom(320, 240, 24, 0);
    s = Exporter::makeVideoSettings(c, false);
    EXPECT_EQ(s.video->codec, VideoCodec::hevc);
    EXPECT_FALSE(s.video->bitRate);
    EXPECT_EQ(s.video->keyframeInterval, 24);
}

TEST(ExportOutputSize, wholeEvenPixelsThatTheWriterTakes) {
    // 4:2:0 halves both sides for chroma, so an odd side is cut to the even one below it.
    struct Row {
        Preset preset;
        QSize size;
    };
    for (const Row& row :
         {Row{Preset::web1080(), {1920, 1080}}, Row{Preset::web4K(), {3840, 2160}},
          Row{Preset::socialSquare(), {1080, 1080}}, Row{Preset::socialVertical(), {1080, 1920}},
          Row{Preset::gif(), {800, 600}}, Row{Preset::custom(641, 359, 30, 0), {640, 358}},
          Row{Preset::custom(1279, 720, 30, 0), {1278, 720}}, Row{Preset::custom(3, 1, 30, 0), {2, 0}},
          Row{Preset::custom(-4, 8, 30, 0), {0, 8}}}) {
        SCOPED_TRACE(QStringLiteral("%1 %2x%3")
                         .arg(enumString(row.preset.kind))
                         .arg(row.preset.size().width)
                         .arg(row.preset.size().height)
                         .toStdString());
        ExportConfiguration c;
        c.preset = row.preset;
        EXPECT_EQ(c.outputSize(), row.size);
        const MediaWriterSettings s = Exporter::makeVideoSettings(c, false);
        ASSERT_TRUE(s.video);
        EXPECT_EQ(QSize(s.video->width, s.video->height), c.outputSize());
    }
}

std::shared_ptr<ProjectBundle> bundleLasting(double seconds, const QString& name = QStringLiteral("Demo")) {
    Project project;
    project.id = QUuid::createUuid();
    project.name = name;
    if (seconds > 0) {
        Clip clip;
        clip.id = QUuid::createUuid();
        clip.sourceVideoPath = QStringLiteral("media/a.mov");
        clip.sourceIn = ProjectTime(0);
        clip.sourceOut = ProjectTime(seconds);
        project.timeline.clips.push_back(clip);
    }
    return std::make_shared<ProjectBundle>(
        QStringLiteral("/projects/") + name + QStringLiteral(".orvanescreen"), project);
}

TEST(ExportSheet, aPresetSetsFormatAndCodec) {
    Sheet sheet;
    sheet.setFormat(Container::mov);
    sheet.setCodec(Codec::prores);
    sheet.applyPreset(Sheet::Preset::web4K);
    EXPECT_EQ(sheet.format(), Container::mp4);
    EXPECT_EQ(sheet.codec(), Codec::hevc);
    for (Sheet::Preset p :
         {Sheet::Preset::web1080, Sheet::Preset::socialSquare, Sheet::Preset::socialVertical}) {
        sheet.setFormat(Container::mov);
        sheet.setCodec(Codec::prores);
        sheet.applyPreset(p);
        EXPECT_EQ(sheet.format(), Container::mp4);
        EXPECT_EQ(sheet.codec(), Codec::h264);
    }
    // GIF leaves the codec as it was.
    sheet.setCodec(Codec::prores);
    sheet.applyPreset(Sheet::Preset::gif);
    EXPECT_EQ(sheet.format(), Container::gif);
    EXPECT_EQ(sheet.codec(), Codec::prores);

    // Nothing ties format and codec back to the preset afterwards: MOV with H.264 on web1080 is allowed.
    sheet.applyPreset(Sheet::Preset::web1080);
    sheet.setFormat(Container::mov);
    EXPECT_EQ(sheet.preset(), Sheet::Preset::web1080);
    const ExportConfiguration c = sheet.configuration(QStringLiteral("/out/Demo.mov"));
    EXPECT_EQ(c.outputPath, QStringLiteral("/out/Demo.mov"));
    EXPECT_EQ(c.container, Container::mov);
    EXPECT_EQ(c.codec, Codec::h264);
    EXPECT_EQ(c.preset, Preset::web1080());
    EXPECT_TRUE(c.includeAudio);
}

TEST(ExportSheet, estimatesTheSizeFromRateDurationAndCodec) {
    struct Case {
        double seconds;
        Sheet::Preset preset;
        Codec codec;
        const char* label;
    };
    for (const Case& c : {
             Case{1.0, Sheet::Preset::socialSquare, Codec::h264, "~1 MB"},
             Case{0.9, Sheet::Preset::socialSquare, Codec::h264, "~879 KB"}, // KB count in 1024s
             Case{0.5, Sheet::Preset::web1080, Codec::h264, "~732 KB"},
             Case{10, Sheet::Preset::web1080, Codec::hevc, "~9 MB"},
             Case{10, Sheet::Preset::web4K, Codec::prores, "~360 MB"},
             Case{300, Sheet::Preset::web4K, Codec::prores, "~10.8 GB"},
             Case{166.6666, Sheet::Preset::web4K, Codec::h264, "~1000 MB"},
             Case{166.6667, Sheet::Preset::web4K, Codec::h264, "~1.0 GB"},
             Case{10, Sheet::Preset::gif, Codec::h264, "—"},
             Case{0, Sheet::Preset::web1080, Codec::h264, "—"},
         }) {
        SCOPED_TRACE(c.seconds);
        Sheet sheet(bundleLasting(c.seconds));
        sheet.applyPreset(c.preset);
        sheet.setCodec(c.codec);
        EXPECT_EQ(sheet.estimatedSizeLabel(), QString::fromUtf8(c.label));
    }
    EXPECT_EQ(Sheet().estimatedSizeLabel(), QStringLiteral("—"));
}

TEST(ExportSheet, labelsTitlesAndTheRecomposeChoice) {
    EXPECT_EQ(Sheet().durationLabel(), QStringLiteral("—"));
    EXPECT_EQ(Sheet(bundleLasting(0)).durationLabel(), QStringLiteral("0:00"));
    EXPECT_EQ(Sheet(bundleLasting(75.9)).durationLabel(), QStringLiteral("1:15"));
    EXPECT_EQ(Sheet(bundleLasting(3600 + 5)).durationLabel(), QStringLiteral("60:05"));

    Sheet sheet(bundleLasting(3, QStringLiteral("Launch Video")));
    EXPECT_EQ(sheet.resolutionLabel(), QStringLiteral("1920×1080"));
    EXPECT_EQ(sheet.suggestedFileName(), QStringLiteral("Launch Video.mp4"));
    sheet.applyPreset(Sheet::Preset::socialVertical);
    EXPECT_EQ(sheet.resolutionLabel(), QStringLiteral("1080×1920"));
    EXPECT_TRUE(sheet.isSocialPreset());
    sheet.applyPreset(Sheet::Preset::gif);
    EXPECT_EQ(sheet.suggestedFileName(), QStringLiteral("Launch Video.gif"));
    EXPECT_FALSE(sheet.isSocialPreset());

    // Recompose runs first only for a social preset with the option on.
    EXPECT_FALSE(sheet.recomposeTargetAspect());
    sheet.setAutoRecompose(true);
    sheet.applyPreset(Sheet::Preset::web1080);
    EXPECT_FALSE(sheet.recomposeTargetAspect());
    sheet.applyPreset(Sheet::Preset::socialVertical);
    EXPECT_EQ(sheet.recomposeTargetAspect(), std::optional<double>(0.5625));
    sheet.applyPreset(Sheet::Preset::socialSquare);
    EXPECT_EQ(sheet.recomposeTargetAspect(), std::optional<double>(1.0));
}

} // namespace
} // namespace orvane
