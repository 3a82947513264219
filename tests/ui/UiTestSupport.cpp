#include "UiTestSupport.h"

#include "ui/EditorModel.h"
#include "ui/ItemTree.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQmlApplicationEngine>

namespace orvane::test {

bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > timeout.count())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QTest::qWait(5);
    }
    return true;
}

UiHarness::UiHarness(UiOptions options) {
    defaults = std::make_unique<UserDefaults>(dir.filePath(QStringLiteral("defaults.ini")));
    defaults->setValue(QString::fromLatin1(AppState::recordingSaveDirectoryKey),
                       dir.filePath(QStringLiteral("Projects")));
    defaults->setValue(QString::fromLatin1(AppViewModel::onboardingKey), options.onboardingCompleted);
    defaults->setValue(QString::fromLatin1(EditorModel::tutorialCompletedKey),
                       options.editorTutorialCompleted);
    recents = std::make_unique<RecentProjectsStore>(*defaults);
    app = std::make_unique<AppState>(
        AppState::Services{*defaults, *recents, options.clock ? *options.clock : Clock::system()});
    desktop = std::make_unique<DesktopApplication>(*app, *recents, *defaults,
                                                   DesktopApplication::Options{options.apiPort});
}

UiHarness::~UiHarness() {
    desktop.reset();
    app.reset();
    // Windows close on the next turn of the loop; leave none for the next test.
    QCoreApplication::processEvents();
}

bool UiHarness::load() {
    if (!desktop->load())
        return false;
    if (!QTest::qWaitForWindowExposed(window(), 10000))
        return false;
    // Shortcuts go to the active window, as keys from a user's keyboard would.
    window()->requestActivate();
    return QTest::qWaitForWindowActive(window(), 5000);
}

QQuickItem* UiHarness::findIn(QQuickWindow* target, const QString& objectName, bool anyVisibility) const {
    if (!target)
        return nullptr;
    return findItem(target->contentItem(), [&](const QQuickItem& item) {
        return item.objectName() == objectName && (anyVisibility || item.isVisible());
    });
}

QQuickItem* UiHarness::find(const QString& objectName, bool anyVisibility) const {
    return findIn(window(), objectName, anyVisibility);
}

QQuickItem* UiHarness::waitFor(const QString& objectName, std::chrono::milliseconds timeout) {
    QQuickItem* found = nullptr;
    if (!waitUntil([&] { return (found = find(objectName)) != nullptr; }, timeout))
        return nullptr;
    // An item shows before its layout has placed it and before a popup's focus settles: give both a
    // few frames, so that a click lands where a user would see the item.
    QTest::qWait(100);
    return find(objectName);
}

void UiHarness::click(QQuickItem* item) {
    if (!item) {
        ADD_FAILURE() << "click on an item that is not there";
        return;
    }
    const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    QTest::mouseClick(item->window(), Qt::LeftButton, Qt::NoModifier, centre.toPoint());
}

void UiHarness::key(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    this->key(window(), key, modifiers);
}

void UiHarness::key(QQuickWindow* target, Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(target, key, modifiers);
}

} // namespace orvane::test
