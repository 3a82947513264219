// The inspector's controls over a real project: one table, every slider, values inside, at and past both
// ends; the same table drives the command line's `set`.
#include "app/InspectorControls.h"

#include "AppTestSupport.h"
#include "app/InspectorEditing.h"
#include "app/InspectorEdits.h"

#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace orvane;
using namespace orvane::InspectorEdits;

namespace {

Clip makeClip(double seconds) {
    Clip clip;
    clip.id = QUuid::createUuid();
    clip.name = QStringLiteral("Take");
    clip.sourceVideoPath = QStringLiteral("media/take.mov");
    clip.sourceOut = ProjectTime(seconds);
    clip.sourceSize = Size{1920, 1080};
    return clip;
}

// A clip on which every control's field exists: a transition, two image overlays.
Clip fullClip() {
    Clip clip = makeClip(10);
    clip.timelineStart = ProjectTime(2);
    chooseTransition(clip, TransitionKind::crossDissolve);
    addImageOverlay(clip, QStringLiteral("/tmp/a.png"));
    addImageOverlay(clip, QStringLiteral("/tmp/b.png"));
    return clip;
}

class InspectorControlsTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_app.createProject(QStringLiteral("Inspector"), 1920, 1080, 60));
        m_app.currentBundle()->update([&](Project& p) { p.timeline.clips = {fullClip()}; });
        m_editing.setSelectedClipID(clip().id);
    }
    const Clip& clip() const { return m_app.currentBundle()->project().timeline.clips.front(); }

    // A drag as the slider reports it: a few steps on the way, then the value.
    void drag(const InspectorSlider& slider, double to, int overlay) {
        m_editing.beginSliderEdit(slider);
        const double from = slider.read(clip(), overlay).value_or(slider.minimum);
        for (int step = 1; step < 5; ++step)
            m_editing.changeSlider(slider, from + (to - from) * step / 5, overlay);
        m_editing.changeSlider(slider, to, overlay);
        m_editing.endSliderEdit(slider);
    }

    test::PrivateApp m_private;
    AppState& m_app = m_private.app;
    InspectorEditing m_editing{m_app};
};

} // namespace

TEST_F(InspectorControlsTest, EverySliderClampsWritesItsFieldAndUndoesAsOneNamedStep) {
    ASSERT_EQ(inspectorSliders().size(), 33u);
    for (const InspectorSlider& slider : inspectorSliders()) {
        SCOPED_TRACE(slider.keyPath.toStdString());
        m_app.undoManager().removeAllActions(); // the stack keeps only the last 50 steps
        const int overlay = slider.isPerOverlay() ? 1 : -1;
        const double span = slider.maximum - slider.minimum;
        ASSERT_GT(span, 0);
        for (const double value : {slider.minimum + span * 0.37, slider.minimum, slider.maximum,
                                   slider.minimum - span * 0.5, slider.maximum + span * 2}) {
            SCOPED_TRACE(value);
            const Clip before = clip();
            const Project projectBefore = m_app.currentBundle()->project();
            const std::size_t steps = m_app.undoManager().undoCount();
            const QString title = m_app.undoTitle();
            drag(slider, value, overlay);

            const double expected = std::clamp(value, slider.minimum, slider.maximum);
            ASSERT_TRUE(slider.read(clip(), overlay));
            EXPECT_DOUBLE_EQ(*slider.read(clip(), overlay), expected);
            if (overlay >= 0) { // the other overlay is left alone
                EXPECT_EQ(clip().imageOverlays[0], before.imageOverlays[0]);
            }

            // The command line writes the same field the same way, from the same table.
            Clip viaSet = before;
            const QString path = QString(slider.keyPath).replace(u'#', QStringLiteral("1"));
            const auto written = writeInspectorField(viaSet, path, QString::number(value, 'g', 17));
            ASSERT_TRUE(written) << written.error().toStdString();
            EXPECT_EQ(viaSet, clip());
            EXPECT_EQ(written->undoName, slider.undoName);
            EXPECT_EQ(written->clamped, value != expected);
            EXPECT_EQ(written->shown, slider.display(expected));

            if (clip() == before) { // already there: nothing to undo
                EXPECT_EQ(m_app.undoManager().undoCount(), steps);
                continue;
            }
            if (slider.undoName) {
                EXPECT_EQ(m_app.undoManager().undoCount(), steps + 1);
                EXPECT_EQ(m_app.undoTitle(), QStringLiteral("Undo ") + *slider.undoName);
                m_app.undo();
                EXPECT_EQ(clip(), before);
                EXPECT_EQ(m_app.currentBundle()->project(), projectBefore);
                m_app.redo();
                EXPECT_DOUBLE_EQ(*slider.read(clip(), overlay), expected);
            } else {
                EXPECT_EQ(m_app.undoManager().undoCount(), steps);
                EXPECT_EQ(m_app.undoTitle(), title);
            }
        }
    }
}

TEST_F(InspectorControlsTest, ADragBackToWhereItStartedLeavesNoStep) {
    const InspectorSlider& padding = *sliderByLabelKey(QStringLiteral("inspector.frame.padding"));
    const double start = clip().frame.paddingFraction;
    m_editing.beginSliderEdit(padding);
    m_editing.changeSlider(padding, 0.2);
    m_editing.changeSlider(padding, start);
    m_editing.endSliderEdit(padding);
    EXPECT_FALSE(m_app.undoManager().canUndo());

    // A row whose field is missing (no transition) changes nothing and registers nothing.
    const InspectorSlider& duration = *sliderByLabelKey(QStringLiteral("Transition duration"));
    m_editing.update([](Clip& c) { c.transitionIn.reset(); });
    const Clip before = clip();
    drag(duration, 1.0, -1);
    EXPECT_EQ(clip(), before);
    Clip copy = before;
    EXPECT_FALSE(
        writeInspectorField(copy, QStringLiteral("transitionIn.duration.seconds"), QStringLiteral("1")));

    // Once the clip is gone the inspector writes nowhere.
    m_app.currentBundle()->update([](Project& p) { p.timeline.clips.clear(); });
    m_editing.update([](Clip& c) { c.speed = 2; });
    EXPECT_TRUE(m_app.currentBundle()->project().timeline.clips.empty());
}

TEST_F(InspectorControlsTest, SwitchesAndPickersWriteWithoutAnUndoStep) {
    for (const InspectorToggle& toggle : inspectorToggles()) {
        SCOPED_TRACE(toggle.keyPath.toStdString());
        const bool was = toggle.read(clip());
        m_editing.update([&](Clip& c) { toggle.write(c, !was); });
        EXPECT_EQ(toggle.read(clip()), !was);
        Clip viaSet = clip();
        ASSERT_TRUE(writeInspectorField(viaSet, toggle.keyPath,
                                        was ? QStringLiteral("true") : QStringLiteral("off")));
        EXPECT_EQ(toggle.read(viaSet), was);
    }
    for (const InspectorChoice& choice : inspectorChoices()) {
        SCOPED_TRACE(choice.keyPath.toStdString());
        ASSERT_EQ(choice.values.size(), choice.labels.size());
        // The kind picker's last choice, none, clears the transition that the easing picker needs.
        m_editing.update([](Clip& c) { chooseTransition(c, TransitionKind::fade); });
        for (int i = int(choice.values.size()) - 1; i >= 0; --i) {
            Clip viaSet = clip();
            ASSERT_TRUE(writeInspectorField(viaSet, choice.keyPath, choice.values[i]));
            EXPECT_EQ(choice.read(viaSet), i);
            m_editing.update([&](Clip& c) { choice.write(c, i); });
            EXPECT_EQ(clip(), viaSet);
        }
    }
    EXPECT_FALSE(m_app.undoManager().canUndo());
    EXPECT_EQ(m_app.undoTitle(), QStringLiteral("Undo"));
}

TEST(InspectorValues, UnitsReadAsTheControlsShowThem) {
    EXPECT_EQ(formatSliderValue(SliderUnit::percentBoost, 1.5), QStringLiteral("150%"));
    EXPECT_EQ(formatSliderValue(SliderUnit::percent, 0.125), QStringLiteral("13%"));
    EXPECT_EQ(formatSliderValue(SliderUnit::seconds, 0.5), QStringLiteral("0.5 s"));
    EXPECT_EQ(formatSliderValue(SliderUnit::seconds, 0.85), QStringLiteral("0.85 s"));
    EXPECT_EQ(formatSliderValue(SliderUnit::seconds, 1.26), QStringLiteral("1.3 s"));
    EXPECT_EQ(formatSliderValue(SliderUnit::points, 23.6), QStringLiteral("24 pt"));
    EXPECT_EQ(formatSliderValue(SliderUnit::multiplier, 1.4), QString::fromUtf8("1.4×"));
    EXPECT_EQ(formatSliderValue(SliderUnit::raw, -12.345), QStringLiteral("-12.35"));
    EXPECT_EQ(sliderByLabelKey(QStringLiteral("Temperature"))->display(-1), QStringLiteral("9000 K"));
    EXPECT_EQ(sliderByLabelKey(QStringLiteral("Exposure"))->display(0.5), QStringLiteral("+0.50 EV"));
    EXPECT_EQ(sliderByLabelKey(QStringLiteral("inspector.perspective.tiltX"))->display(0),
              QStringLiteral("+0.00"));
    EXPECT_EQ(sliderByLabelKey(QStringLiteral("inspector.perspective.tiltX"))->display(-0.5),
              QStringLiteral("-0.50"));
    EXPECT_EQ(formatPropertyValue(AnimatablePropertyID::opacity, 0.5), QStringLiteral("50%"));
    EXPECT_EQ(formatPropertyValue(AnimatablePropertyID::exposure, -0.25), QStringLiteral("-0.25 EV"));
    EXPECT_EQ(formatKeyframeTime(75.456), QStringLiteral("1:15.46"));
}

TEST(InspectorEdits, BackgroundKindsStartFromTheirDefaults) {
    Clip clip = makeClip(5);
    selectGradient(clip, 5);
    EXPECT_EQ(selectedGradient(clip), 5u);
    switchBackgroundKind(clip, BackgroundKind::solid, u"#203040");
    EXPECT_EQ(backgroundKind(clip.background), BackgroundKind::solid);
    EXPECT_EQ(std::get<BackgroundStyle::Solid>(clip.background.value).color, *RGBAColor::fromHex(u"#203040"));
    switchBackgroundKind(clip, BackgroundKind::gradient, u"");
    EXPECT_EQ(selectedGradient(clip), 2u); // the third preset, not the one picked before
    switchBackgroundKind(clip, BackgroundKind::solid, u"not a colour");
    EXPECT_EQ(std::get<BackgroundStyle::Solid>(clip.background.value).color, RGBAColor::black());
    switchBackgroundKind(clip, BackgroundKind::blur, u"");
    EXPECT_EQ(std::get<BackgroundStyle::BlurredExtension>(clip.background.value).blurRadius, 60);
    switchBackgroundKind(clip, BackgroundKind::wallpaper, u"");
    EXPECT_EQ(std::get<BackgroundStyle::Wallpaper>(clip.background.value).name, QStringLiteral("default"));

    EXPECT_TRUE(writeInspectorField(clip, QStringLiteral("background.gradient"), QStringLiteral("mint")));
    EXPECT_EQ(selectedGradient(clip), 6u);
    const auto bad = writeInspectorField(clip, QStringLiteral("background.solid"), QStringLiteral("#12"));
    ASSERT_FALSE(bad);
    EXPECT_TRUE(bad.error().startsWith(QStringLiteral("background.solid:")));
    EXPECT_EQ(selectedGradient(clip), 6u);
    ASSERT_TRUE(writeInspectorField(clip, QStringLiteral("camera.position"), QStringLiteral("topRight")));
    EXPECT_EQ(cameraGridIndex(clip), 2u);
}

TEST(InspectorEdits, OverlaysSitAroundTheClipsMiddle) {
    Clip shortClip = makeClip(2);
    const QUuid title = addTextOverlay(shortClip, TextPreset::titleCard, QStringLiteral("Hello"));
    EXPECT_EQ(shortClip.textOverlays.back().timeRange.start.seconds, 0);
    Clip longClip = makeClip(10);
    addTextOverlay(longClip, TextPreset::lowerThird, QStringLiteral("Name"));
    const TextOverlay& lower = longClip.textOverlays.back();
    EXPECT_DOUBLE_EQ(lower.timeRange.start.seconds, 3.5);
    EXPECT_DOUBLE_EQ(lower.timeRange.duration.seconds, 3);
    EXPECT_EQ(lower.position, TextOverlay::Position::lowerThird);
    EXPECT_EQ(lower.animation, TextOverlay::Animation::fadeIn);
    EXPECT_TRUE(setTextOverlayText(shortClip, title, QStringLiteral("Bye")));
    EXPECT_EQ(shortClip.textOverlays.front().text, QStringLiteral("Bye"));
    EXPECT_TRUE(removeTextOverlay(shortClip, title));
    EXPECT_FALSE(removeTextOverlay(shortClip, title));

    addImageOverlay(longClip, QStringLiteral("logo.png"));
    const ImageOverlay& image = longClip.imageOverlays.back();
    EXPECT_DOUBLE_EQ(image.timeRange.start.seconds, 3);
    EXPECT_DOUBLE_EQ(image.timeRange.duration.seconds, 4);
    EXPECT_TRUE(QString::fromUtf8(image.imageBookmark).endsWith(QStringLiteral("/logo.png")));
    EXPECT_TRUE(QString::fromUtf8(image.imageBookmark).startsWith(u'/'));
}

TEST(InspectorEdits, TransitionsSpeedAndKeyframes) {
    Clip clip = makeClip(0.4);
    chooseTransition(clip, TransitionKind::wipeLeft);
    EXPECT_DOUBLE_EQ(clip.transitionIn->duration.seconds, 0.5);
    EXPECT_EQ(clip.transitionIn->easing, EasingCurve::cinematic());
    clip.transitionIn->duration = ProjectTime(1.7);
    setTransitionEasing(clip, 1);
    chooseTransition(clip, TransitionKind::irisIn); // keeps what was set
    EXPECT_DOUBLE_EQ(clip.transitionIn->duration.seconds, 1.7);
    EXPECT_EQ(clip.transitionIn->easing, EasingCurve::easeIn());
    chooseTransition(clip, TransitionKind::none);
    EXPECT_FALSE(clip.transitionIn);
    chooseTransition(clip, TransitionKind::fade); // starts afresh
    EXPECT_DOUBLE_EQ(clip.transitionIn->duration.seconds, 0.5);

    applySpeedPreset(clip, SpeedPreset::freeze);
    ASSERT_EQ(clip.speedRamp.count(), 3u);
    EXPECT_DOUBLE_EQ(clip.speedRamp.keyframes[1].time.seconds, 0.1);
    EXPECT_DOUBLE_EQ(clip.speedRamp.keyframes[1].value, 0.01);
    EXPECT_DOUBLE_EQ(clip.speedRamp.keyframes[2].time.seconds, 0.4);
    enableSpeedRamp(clip);
    ASSERT_EQ(clip.speedRamp.count(), 2u);
    EXPECT_DOUBLE_EQ(clip.speedRamp.keyframes[1].time.seconds, 0.4);
    disableSpeedRamp(clip);
    EXPECT_TRUE(clip.speedRamp.isEmpty());
    EXPECT_DOUBLE_EQ(speedCurveY(0.25), 1);
    EXPECT_DOUBLE_EQ(speedCurveY(4), 0);

    // A new keyframe holds the track's value where it lands, or the property's neutral value.
    addKeyframe(clip, AnimatablePropertyID::opacity, ProjectTime(0));
    EXPECT_DOUBLE_EQ(clip.animations.tracks[AnimatablePropertyID::opacity].keyframes[0].value,
                     propertyInfo(AnimatablePropertyID::opacity).defaultValue);
    clip.animations.tracks[AnimatablePropertyID::opacity].insert(
        {ProjectTime(2), 0.0, EasingCurve::linear()});
    addKeyframe(clip, AnimatablePropertyID::opacity, ProjectTime(1));
    const auto& track = clip.animations.tracks[AnimatablePropertyID::opacity];
    ASSERT_EQ(track.count(), 3u);
    EXPECT_NEAR(track.keyframes[1].value, 0.5, 1e-9);
    EXPECT_EQ(track.keyframes[1].easing, EasingCurve::cinematic());
    EXPECT_TRUE(deleteKeyframe(clip, AnimatablePropertyID::opacity, 0));
    EXPECT_FALSE(deleteKeyframe(clip, AnimatablePropertyID::scale, 0));
    removeAllKeyframes(clip, AnimatablePropertyID::opacity);
    EXPECT_TRUE(clip.animations.isEmpty());
}

TEST(SetCommand, WritesClampsLogsAndRefusesBadPairsWholesale) {
    QTemporaryDir home;
    auto bundle =
        std::make_shared<ProjectBundle>(home.filePath(QStringLiteral("Set.orvanescreen")), Project{});
    ASSERT_TRUE(bundle->ensureOnDisk());
    bundle->update([](Project& p) { p.timeline.clips = {fullClip(), makeClip(3)}; });
    ASSERT_TRUE(bundle->flushPendingSave());
    const Project original = bundle->project();
    const QString id = uuidString(original.timeline.clips.front().id);

    const auto run = [&](QStringList args) {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("HOME"), home.path());
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral(".config")));
        process.setProcessEnvironment(env);
        args.prepend(bundle->path());
        args.prepend(QStringLiteral("set"));
        process.start(QStringLiteral(ORVANE_SCREEN_BINARY), args);
        EXPECT_TRUE(process.waitForFinished(30000));
        return std::tuple{process.exitCode(), QString::fromUtf8(process.readAllStandardError())};
    };

    // Two clips and no --clip: which one is unclear.
    EXPECT_NE(std::get<0>(run({QStringLiteral("frame.cornerRadius=24")})), 0);
    // One bad pair among good ones: nothing is written.
    const auto [badCode, badErr] = run({QStringLiteral("--clip"), id, QStringLiteral("frame.cornerRadius=24"),
                                        QStringLiteral("frame.paddingFraction=wide")});
    EXPECT_NE(badCode, 0);
    EXPECT_TRUE(
        badErr.contains(QStringLiteral("frame.paddingFraction: \"wide\" is not a number; it takes 0...0.25")))
        << badErr.toStdString();
    EXPECT_EQ(ProjectBundle::load(bundle->path()).value()->project().timeline, original.timeline);
    const auto [unknownCode, unknownErr] =
        run({QStringLiteral("--clip"), id, QStringLiteral("frame.radius=3")});
    EXPECT_NE(unknownCode, 0);
    EXPECT_TRUE(unknownErr.contains(QStringLiteral("frame.radius: no such field")))
        << unknownErr.toStdString();

    const auto [code, err] =
        run({QStringLiteral("--clip"), id, QStringLiteral("frame.cornerRadius=200"),
             QStringLiteral("background.solid=#203040"), QStringLiteral("cursor.isVisible=false"),
             QStringLiteral("imageOverlays.1.opacity=0.5")});
    ASSERT_EQ(code, 0) << err.toStdString();
    EXPECT_TRUE(err.contains(
        QStringLiteral("[Inspector] Change Corner Radius: frame.cornerRadius = 64 pt (clamped)")))
        << err.toStdString();
    EXPECT_TRUE(err.contains(QStringLiteral("[Inspector] imageOverlays.1.opacity = 50%")))
        << err.toStdString();
    const Clip saved = ProjectBundle::load(bundle->path()).value()->project().timeline.clips.front();
    EXPECT_EQ(saved.frame.cornerRadius, 64);
    EXPECT_EQ(std::get<BackgroundStyle::Solid>(saved.background.value).color,
              *RGBAColor::fromHex(u"#203040"));
    EXPECT_FALSE(saved.cursor.isVisible);
    EXPECT_EQ(saved.imageOverlays[1].opacity, 0.5);
    EXPECT_EQ(saved.imageOverlays[0], original.timeline.clips.front().imageOverlays[0]);
}
