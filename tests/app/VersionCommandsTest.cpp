// `versions` and `restore`, run as the real program in a private home.
#include "project/ProjectBundle.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace orvane;

namespace {

struct Result {
    int exitCode;
    QString out;
    QString err;
};

Result run(const QTemporaryDir& home, const QStringList& args) {
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), home.path());
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral(".config")));
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(ORVANE_SCREEN_BINARY), args);
    EXPECT_TRUE(process.waitForFinished(30000));
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

Project withModifiedAt(Project project, const QDateTime& modifiedAt) {
    project.modifiedAt = modifiedAt;
    return project;
}

// A project saved three times, an hour apart by the files' times: no clips, one clip, then two clips under
// a new name; and an unreadable save older than all of them.
class CommandLineVersions : public ::testing::Test {
protected:
    void SetUp() override {
        folder = home.filePath(QStringLiteral("Demo.orvanescreen"));
        Project project;
        project.name = QStringLiteral("Demo");
        ProjectBundle bundle(folder, project);
        // The saves' files in the order they were written: two saves in one second are told apart by a
        // suffix that does not sort by time.
        QStringList written;
        const auto noteNewSave = [&] {
            for (const QString& name : QDir(bundle.versionsDirectory()).entryList({QStringLiteral("*.json")}))
                if (!written.contains(name))
                    written << name;
        };
        ASSERT_TRUE(bundle.ensureOnDisk().has_value());
        noteNewSave();
        bundle.update(
            [](Project& p) { p.timeline.add(p.makeClip(QStringLiteral("One"), ProjectTime(2), {})); });
        ASSERT_TRUE(bundle.save().has_value());
        noteNewSave();
        bundle.update([](Project& p) {
            p.name = QStringLiteral("Demo, final");
            p.timeline.add(p.makeClip(QStringLiteral("Two"), ProjectTime(3), {}));
        });
        ASSERT_TRUE(bundle.save().has_value());
        noteNewSave();
        ASSERT_EQ(written.size(), 3);
        current = bundle.project();

        QFile broken(QDir(bundle.versionsDirectory()).filePath(QStringLiteral("19990101-000000.json")));
        ASSERT_TRUE(broken.open(QIODevice::WriteOnly));
        broken.write("{ not json");
        broken.close();
        written.prepend(QStringLiteral("19990101-000000.json"));

        // An hour apart by the files' times, the unreadable one oldest.
        const QDateTime base = QDateTime::currentDateTime().addSecs(-10 * 3600);
        for (int i = 0; i < written.size(); ++i) {
            QFile file(QDir(bundle.versionsDirectory()).filePath(written[i]));
            ASSERT_TRUE(file.open(QIODevice::ReadWrite));
            ASSERT_TRUE(file.setFileTime(base.addSecs(3600 * i), QFileDevice::FileModificationTime));
        }
        ProjectBundle reader(folder, Project{});
        listed = reader.listVersions();
        ASSERT_EQ(listed.size(), 4u);
        ASSERT_EQ(listed.back().rawName, QStringLiteral("19990101-000000"));
    }

    std::vector<VersionSnapshot> listNow() const { return ProjectBundle(folder, Project{}).listVersions(); }

    QTemporaryDir home;
    QString folder;
    Project current;
    std::vector<VersionSnapshot> listed;
};

TEST_F(CommandLineVersions, ListsNewestFirstWithDateNameAndClips) {
    const Result result = run(home, {QStringLiteral("versions"), folder});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QStringList lines = result.out.trimmed().split(u'\n');
    ASSERT_EQ(lines.size(), 4) << result.out.toStdString();
    const char* expected[][2] = {{"Demo, final", "2 clips"}, {"Demo", "1 clip"}, {"Demo", "0 clips"}};
    for (int i = 0; i < 3; ++i) {
        const QStringList fields = lines[i].split(u'\t');
        ASSERT_EQ(fields.size(), 4) << lines[i].toStdString();
        EXPECT_EQ(fields[0], listed[std::size_t(i)].rawName);
        EXPECT_EQ(fields[1], listed[std::size_t(i)].savedAt.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")));
        EXPECT_EQ(fields[2], QString::fromUtf8(expected[i][0]));
        EXPECT_EQ(fields[3], QString::fromLatin1(expected[i][1]));
    }
    EXPECT_TRUE(lines[3].startsWith(QStringLiteral("19990101-000000\t"))) << lines[3].toStdString();
    EXPECT_TRUE(lines[3].contains(QStringLiteral("unreadable"))) << lines[3].toStdString();

    EXPECT_NE(run(home, {QStringLiteral("versions")}).exitCode, 0);
    const Result missing = run(home, {QStringLiteral("versions"), home.filePath(QStringLiteral("Gone"))});
    EXPECT_NE(missing.exitCode, 0);
    EXPECT_FALSE(missing.err.isEmpty());
}

// The state being replaced is kept as a save first; then the chosen save is the project, and the newest
// save too. Nothing is deleted.
TEST_F(CommandLineVersions, RestoreKeepsTheStateBeforeItAsASave) {
    const VersionSnapshot chosen = listed[1]; // "Demo" with one clip
    const auto wanted = ProjectBundle(folder, Project{}).loadVersion(chosen);
    ASSERT_TRUE(wanted.has_value());

    const Result result =
        run(home, {QStringLiteral("restore"), folder, chosen.rawName + QStringLiteral(".json")});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.contains(chosen.rawName)) << result.out.toStdString();

    auto reopened = ProjectBundle::load(folder);
    ASSERT_TRUE(reopened.has_value());
    const Project& restored = (*reopened)->project();
    EXPECT_EQ(withModifiedAt(restored, wanted->modifiedAt), *wanted);

    const std::vector<VersionSnapshot> after = listNow();
    ASSERT_EQ(after.size(), listed.size() + 2);
    for (const VersionSnapshot& before : listed)
        EXPECT_TRUE(QFile::exists(before.path)) << before.rawName.toStdString();
    const auto newest = (*reopened)->loadVersion(after[0]);
    const auto kept = (*reopened)->loadVersion(after[1]);
    ASSERT_TRUE(newest.has_value());
    ASSERT_TRUE(kept.has_value());
    EXPECT_EQ(*newest, restored) << "the restored state is the newest save, as project.json holds it";
    EXPECT_EQ(withModifiedAt(*kept, current.modifiedAt), current) << "the state before the restore is kept";
    EXPECT_TRUE(result.out.contains(after[1].rawName)) << "and named: " << result.out.toStdString();
}

// A name that is no save, or a save that cannot be read, fails with the name and writes nothing.
TEST_F(CommandLineVersions, RestoreOfAnUnknownOrUnreadableSaveChangesNothing) {
    const QByteArray project = contents(QDir(folder).filePath(QStringLiteral("project.json")));
    for (const QString& id : {QStringLiteral("20000101-nope"), QStringLiteral("19990101-000000")}) {
        const Result result = run(home, {QStringLiteral("restore"), folder, id});
        EXPECT_NE(result.exitCode, 0) << id.toStdString();
        EXPECT_TRUE(result.err.contains(id)) << result.err.toStdString();
        EXPECT_EQ(contents(QDir(folder).filePath(QStringLiteral("project.json"))), project);
        EXPECT_EQ(listNow().size(), listed.size());
    }
    EXPECT_NE(run(home, {QStringLiteral("restore"), folder}).exitCode, 0);
}

} // namespace
