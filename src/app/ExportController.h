#pragma once

#include "support/Error.h"

#include <QObject>
#include <QString>

#include <tl/expected.hpp>

#include <optional>

namespace orvane {

class AppState;
class ExportQueue;

// Exports for AppState: turns the loose preset and codec words of automation into a configuration and
// queues the open project, and keeps AppState's isExporting true for as long as the queue has a job
// running or waiting, whoever queued it. Main thread only.
class ExportController : public QObject {
    Q_OBJECT
public:
    ExportController(AppState& app, ExportQueue& queue);

    tl::expected<QString, Error> apiExport(const QString& preset, const QString& codec,
                                           const std::optional<QString>& outputPath);

private:
    void followQueue();

    AppState& m_app;
    ExportQueue& m_queue;
};

} // namespace orvane
