#pragma once

#include <QCoreApplication>
#include <QGuiApplication>

namespace orvane::bench {

// Chrome titles, text and cursor drawing use QPainter, and fonts want a GUI application object; the
// benchmarks share one, made offscreen on first use.
inline void ensureGuiApplication() {
    if (QCoreApplication::instance())
        return;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "orvane-bench";
    static char* argv[] = {name, nullptr};
    static QGuiApplication app(argc, argv);
}

} // namespace orvane::bench
