// The baseline of the start-up benchmark: the least a Qt Quick program does to show a window, a dark
// QML window with a line of text, started the same way as the application and reporting its first frame.
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QSGRendererInterface>

#include <cstdio>

int main(int argc, char** argv) {
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    QGuiApplication application(argc, argv);
    // --software: Qt Quick's own software renderer, the second baseline.
    if (QGuiApplication::arguments().contains(QStringLiteral("--software")))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QQmlApplicationEngine engine;
    engine.loadData(R"(
import QtQuick
import QtQuick.Controls
ApplicationWindow {
    visible: true
    width: 1280
    height: 800
    color: "#0F1115"
    Label { anchors.centerIn: parent; text: "Hello"; color: "white"; font.pixelSize: 28 }
})");
    if (engine.rootObjects().isEmpty())
        return 1;
    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().constFirst());
    QObject::connect(
        window, &QQuickWindow::frameSwapped, &application,
        [] {
            static bool reported = false;
            if (reported)
                return;
            reported = true;
            std::printf("first frame\n");
            std::fflush(stdout);
        },
        Qt::QueuedConnection);
    return QGuiApplication::exec();
}
