#pragma once

#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>

#include <utility>

namespace orvane {

// The main executor is the Qt main thread. Work finished elsewhere comes back through a queued call.
inline bool isMainThread() {
    return QCoreApplication::instance() && QThread::currentThread() == QCoreApplication::instance()->thread();
}

// Runs `f` on the main thread's event loop, later, whatever thread calls this.
template <class F>
void runOnMainThread(F&& f) {
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::forward<F>(f), Qt::QueuedConnection);
}

} // namespace orvane
