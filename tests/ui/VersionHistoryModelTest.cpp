#include "ui/VersionHistoryModel.h"

#include "UiTestSupport.h"
#include "ui/DateTexts.h"
#include "ui/VersionPreviewRenderer.h"

#include <map>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

// The largest whole unit that fits, past and future, at each unit's edges.
TEST(VersionHistoryDates, RelativeTimeUsesTheLargestWholeUnit) {
    const QDateTime now(QDate(2026, 11, 24), QTime(15, 4, 5));
    const struct {
        qint64 secondsAgo;
        const char* text;
    } cases[] = {
        {0, "now"},
        {1, "1 second ago"},
        {59, "59 seconds ago"},
        {60, "1 minute ago"},
        {119, "1 minute ago"},
        {120, "2 minutes ago"},
        {3599, "59 minutes ago"},
        {3600, "1 hour ago"},
        {86399, "23 hours ago"},
        {86400, "1 day ago"},
        {6 * 86400, "6 days ago"},
        {7 * 86400, "1 week ago"},
        {29 * 86400, "4 weeks ago"},
        {30 * 86400, "1 month ago"},
        {364 * 86400, "12 months ago"},
        {365 * 86400, "1 year ago"},
        {3 * 365 * 86400, "3 years ago"},
        {-1, "in 1 second"},
        {-7200, "in 2 hours"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(dateTexts::relative(now.addSecs(-c.secondsAgo), now), QString::fromLatin1(c.text))
            << c.secondsAgo << " s";
}

// A medium date and time: no weekday, no time zone, the month abbreviated, in the locale's order.
TEST(VersionHistoryDates, MediumDateAndTimeFollowTheLocale) {
    const QDateTime afternoon(QDate(2026, 11, 24), QTime(15, 4, 5));
    EXPECT_EQ(dateTexts::mediumDateTime(afternoon, QLocale(QLocale::English, QLocale::UnitedStates)),
              QStringLiteral("Nov 24, 2026 at 3:04:05 PM"));
    EXPECT_EQ(dateTexts::mediumDateTime(afternoon, QLocale(QLocale::English, QLocale::UnitedKingdom)),
              QStringLiteral("24 Nov 2026 at 15:04:05"));
    // A date kept in UTC reads in local time, as the file's own time does.
    EXPECT_EQ(dateTexts::mediumDateTime(afternoon.toUTC(), QLocale(QLocale::English, QLocale::UnitedKingdom)),
              QStringLiteral("24 Nov 2026 at 15:04:05"));
}

TEST(VersionHistoryDates, SummaryCountsEveryClipAndSaysOneOrMany) {
    Project project;
    EXPECT_EQ(VersionHistoryModel::diffSummary(project),
              (QStringList{QStringLiteral("0 clips"), QStringLiteral("0 zoom keyframes"),
                           QStringLiteral("0 captions")}));
    Clip plain = project.makeClip(QStringLiteral("Plain"), ProjectTime(2), {1920, 1080});
    project.timeline.add(plain);
    EXPECT_EQ(VersionHistoryModel::diffSummary(project),
              (QStringList{QStringLiteral("1 clip"), QStringLiteral("0 zoom keyframes"),
                           QStringLiteral("0 captions")}));

    Clip zoomed = project.makeClip(QStringLiteral("Zoomed"), ProjectTime(2), {1920, 1080});
    zoomed.zoomTrack.keyframes = {{ProjectTime(0.5), NormalizedRect::unit()}};
    zoomed.captions = CaptionsTrack{};
    for (int i = 0; i < 2; ++i)
        zoomed.captions->captions.push_back(
            Caption::create(ProjectTime(i), ProjectTime(1), QStringLiteral("Hi")));
    project.timeline.add(zoomed);
    Clip captioned = project.makeClip(QStringLiteral("Captioned"), ProjectTime(2), {1920, 1080});
    captioned.captions = CaptionsTrack{};
    captioned.captions->captions.push_back(
        Caption::create(ProjectTime(0), ProjectTime(1), QStringLiteral("Yo")));
    project.timeline.add(captioned);
    EXPECT_EQ(VersionHistoryModel::diffSummary(project),
              (QStringList{QStringLiteral("3 clips"), QStringLiteral("1 zoom keyframe"),
                           QStringLiteral("3 captions")}));
}

// The model without a window, over a project of three saves that differ in name and background.
class VersionHistoryModelTest : public UiTest {
protected:
    void SetUp() override {
        UiTest::SetUp();
        if (IsSkipped())
            return;
        auto bundle = ui.app->createProjectAt(ui.dir.filePath(QStringLiteral("Model.orvanescreen")));
        ASSERT_TRUE(bundle.has_value());
        const RGBAColor colours[] = {{0.9, 0.1, 0.1, 1}, {0.1, 0.8, 0.2, 1}, {0.1, 0.2, 0.9, 1}};
        for (int i = 0; i < 3; ++i) {
            QTest::qWait(20);
            ASSERT_TRUE(
                ui.app
                    ->performEdit(
                        QStringLiteral("Edit"),
                        [&](Project& p) {
                            p.name = QStringLiteral("Save %1").arg(i + 1);
                            p.timeline.clips.clear();
                            // No movie: the clip's styles over the stand-in picture.
                            Clip clip = p.makeClip(QStringLiteral("Clip"), ProjectTime(2), {1280, 720});
                            clip.background = BackgroundStyle::solid(colours[i]);
                            p.timeline.add(clip);
                        })
                    .has_value());
            ASSERT_TRUE((*bundle)->flushPendingSave().has_value());
        }
        model = std::make_unique<VersionHistoryModel>(*ui.app);
    }

    bool settle() {
        return waitUntil(
            [&] { return !model->isLoading() && (!model->hasPreviewProject() || model->hasPreviewImage()); },
            10s);
    }

    UiHarness ui;
    std::unique_ptr<VersionHistoryModel> model;
};

// Picks in quick succession, some with a moment between them: whatever the model shows at any time
// (project or still) is the current pick's, and it ends on the last pick.
TEST_F(VersionHistoryModelTest, WhatItShowsIsAlwaysTheCurrentPicks) {
    model->reload();
    ASSERT_EQ(model->count(), 4); // the creation's save and three edits
    ASSERT_TRUE(settle());
    EXPECT_EQ(model->previewName(), QStringLiteral("Save 3"));

    std::map<QString, Project> projects;
    std::map<QString, QImage> stills;
    VersionPreviewRenderer renderer(
        QSize(VersionHistoryModel::previewWidth, VersionHistoryModel::previewHeight));
    for (const VersionSnapshot& snapshot : model->snapshotList()) {
        const auto project = ui.app->currentBundle()->loadVersion(snapshot);
        ASSERT_TRUE(project.has_value());
        projects[snapshot.path] = *project;
        stills[snapshot.path] = renderer.render(*project, ui.app->currentBundle()->path());
    }
    int shownProjects = 0;
    int shownStills = 0;
    QObject::connect(model.get(), &VersionHistoryModel::previewChanged, [&] {
        if (!model->previewProject())
            return;
        ++shownProjects;
        EXPECT_EQ(*model->previewProject(), projects[model->selection()]);
    });
    QObject::connect(model.get(), &VersionHistoryModel::previewImageChanged, [&] {
        if (!model->hasPreviewImage())
            return;
        ++shownStills;
        EXPECT_EQ(model->previewImage(), stills[model->selection()]) << "a superseded pick's still";
    });

    // A burst of picks, most of whose work is skipped; then picks made just as the previous one's project
    // has landed, while its still is being drawn, so that the still lands after the next pick.
    for (int index : {2, 0, 3, 1, 2, 3})
        model->setSelectedIndex(index);
    for (int index : {0, 2, 3, 0, 2, 1}) {
        ASSERT_TRUE(waitUntil([&] { return model->hasPreviewProject(); }, 10s));
        model->setSelectedIndex(index);
    }
    ASSERT_TRUE(settle());
    EXPECT_EQ(model->selectedIndex(), 1);
    EXPECT_EQ(model->previewName(), QStringLiteral("Save 2"));
    EXPECT_EQ(model->previewImage(), stills[model->selection()]);
    EXPECT_GE(shownProjects, 1);
    EXPECT_GE(shownStills, 1);
    // The green background of the second save, at the still's corner.
    const QColor corner = model->previewImage().pixelColor(2, 2);
    EXPECT_GT(corner.green(), 150);
    EXPECT_LT(corner.red(), 60);
    QTest::qWait(300);
    EXPECT_EQ(model->previewImage(), stills[model->selection()]);
}

// Restoring replaces the project as one named undo step; without a decoded pick it does nothing.
TEST_F(VersionHistoryModelTest, RestoreIsOneUndoStepAndNeedsADecodedPick) {
    model->reload();
    ASSERT_TRUE(settle());
    model->setSelection(QString());
    EXPECT_FALSE(model->hasPreviewProject());
    EXPECT_FALSE(model->restoreSelected());
    model->setSelection(QStringLiteral("/nowhere/else.json"));
    ASSERT_TRUE(settle());
    EXPECT_FALSE(model->hasPreviewProject()) << "a path that is not a listed save is no pick";
    EXPECT_FALSE(model->restoreSelected());

    const Project before = ui.app->currentBundle()->project();
    model->setSelectedIndex(2);
    ASSERT_TRUE(settle());
    const VersionSnapshot picked = model->snapshotList()[2];
    ASSERT_TRUE(model->restoreSelected());
    EXPECT_EQ(ui.app->currentBundle()->project().name, QStringLiteral("Save 1"));
    EXPECT_EQ(ui.app->undoManager().undoActionName(), VersionHistoryModel::restoreActionName(picked.savedAt));
    ui.app->undo();
    EXPECT_EQ(ui.app->currentBundle()->project().name, before.name);
    EXPECT_EQ(ui.app->currentBundle()->project().timeline, before.timeline);
}

} // namespace
} // namespace orvane::test
