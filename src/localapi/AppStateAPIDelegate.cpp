#include "AppStateAPIDelegate.h"

#include "LocalAPIServer.h"

namespace orvane {

LocalScreenAPIDelegate::ExportCounts AppStateAPIDelegate::exportCounts() const {
    ExportCounts counts;
    for (const ExportQueue::Job& job : m_app.exportQueue().jobs()) {
        const auto& state = job.state.value;
        counts.pending += std::holds_alternative<ExportQueue::JobState::Pending>(state);
        counts.active += std::holds_alternative<ExportQueue::JobState::Running>(state);
        counts.completed += std::holds_alternative<ExportQueue::JobState::Completed>(state);
        counts.failed += std::holds_alternative<ExportQueue::JobState::Failed>(state);
    }
    return counts;
}

void ensureLocalAPIServer(AppState& app, quint16 port) {
    if (app.localAPIServer())
        return;
    auto holder = std::make_unique<AppStateAPIServer>(app, port);
    holder->server().start();
    app.setLocalAPIServer(std::move(holder));
}

} // namespace orvane
