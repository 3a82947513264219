#pragma once

#include "ExportQueueModel.h"

#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QRect>
#include <QtQml/qqmlregistration.h>

class QQmlEngine;
class QJSEngine;

namespace orvane {

class AppViewModel;
class ExportQueueController;

// The export queue as the floating panel and the toolbar's indicator see it: the jobs as rows, the counts,
// and whether the panel shows. When it shows and hides is ExportQueueController's to say; this object
// only forwards the buttons to it and to the queue.
class ExportQueueViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

    Q_PROPERTY(QObject* jobs READ jobs CONSTANT FINAL)
    Q_PROPERTY(bool isPanelVisible READ isPanelVisible NOTIFY panelChanged FINAL)
    Q_PROPERTY(bool isPinned READ isPinned NOTIFY panelChanged FINAL)
    Q_PROPERTY(int activeCount READ activeCount NOTIFY jobsChanged FINAL)
    Q_PROPERTY(bool hasActiveWork READ hasActiveWork NOTIFY jobsChanged FINAL)
    Q_PROPERTY(bool hasFinishedJobs READ hasFinishedJobs NOTIFY jobsChanged FINAL)
    Q_PROPERTY(double aggregateProgress READ aggregateProgress NOTIFY jobsChanged FINAL)

public:
    // The panel's distance from the right edge of the screen's free area, and from its top.
    static constexpr int panelMargin = 24;

    ExportQueueViewModel(AppViewModel& app, QObject* parent = nullptr);
    // One per engine, over the application the engine's views serve.
    static ExportQueueViewModel* create(QQmlEngine* engine, QJSEngine*);

    ExportQueueModel& jobModel() { return m_jobs; }
    QObject* jobs() { return &m_jobs; }
    bool isPanelVisible() const;
    bool isPinned() const;
    // The pending jobs and the running one.
    int activeCount() const;
    bool hasActiveWork() const { return activeCount() > 0; }
    bool hasFinishedJobs() const;
    double aggregateProgress() const;

    // The indicator: hides a showing panel even when pinned, else shows it.
    Q_INVOKABLE void togglePanel();
    Q_INVOKABLE void hidePanel();
    Q_INVOKABLE void togglePin();
    Q_INVOKABLE void cancel(const QString& jobId);
    Q_INVOKABLE void clearFinished();
    Q_INVOKABLE void reveal(const QString& path);
    // Where the panel, `width` wide, goes: the top right of the primary screen's free area.
    Q_INVOKABLE QPoint panelPosition(int width) const;
    static QPoint panelPosition(const QRect& available, int width);

Q_SIGNALS:
    void panelChanged();
    void jobsChanged();

private:
    QPointer<AppViewModel> m_app;
    ExportQueue& m_queue;
    ExportQueueController& m_controller;
    ExportQueueModel m_jobs;
};

} // namespace orvane
