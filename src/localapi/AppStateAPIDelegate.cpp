#include "AppStateAPIDelegate.h"

#include "LocalAPIServer.h"

namespace orvane {

namespace {
// Owned by AppState next to the server, so the delegate lives exactly as long as the server does.
class ServerWithDelegate : public QObject {
public:
    ServerWithDelegate(AppState& app, const UserDefaults& defaults)
        : m_delegate(app)
        , m_server(&m_delegate, &app, defaults) {}
    LocalAPIServer& server() { return m_server; }

private:
    AppStateAPIDelegate m_delegate;
    LocalAPIServer m_server;
};
} // namespace

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

void ensureLocalAPIServer(AppState& app) {
    if (app.localAPIServer())
        return;
    auto holder = std::make_unique<ServerWithDelegate>(app, app.defaults());
    holder->server().start();
    app.setLocalAPIServer(std::move(holder));
}

} // namespace orvane
