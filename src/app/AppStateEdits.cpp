// Edits with their undo steps, and the edits of automation that register none.
#include "AppState.h"
#include "direction/AutoZoomEngine.h"

#include <exception>

namespace orvane {

tl::expected<void, Error> AppState::performEdit(const QString& name,
                                                const std::function<void(Project&)>& mutate) {
    if (!m_currentBundle)
        return {};
    const Project before = m_currentBundle->project();
    try {
        m_currentBundle->update(mutate);
    } catch (const ErrorException& e) {
        return tl::unexpected(e.error());
    } catch (const std::exception& e) {
        return tl::unexpected(Error::system(QString::fromUtf8(e.what())));
    }
    registerSnapshotStep(before, m_currentBundle->project(), name);
    return {};
}

void AppState::commitEdit(const QString& name, const Project& projectBefore) {
    if (!m_currentBundle || projectBefore == m_currentBundle->project())
        return;
    registerSnapshotStep(projectBefore, m_currentBundle->project(), name);
}

void AppState::registerSnapshotStep(const Project& before, const Project& after, const QString& name) {
    const QUuid projectID = m_currentBundle->project().id;
    m_undoManager.registerUndo(
        [this, before, after, name, projectID] { applyProjectSnapshot(before, after, name, projectID); });
    m_undoManager.setActionName(name);
    // The stack's own signals came before the step had its name; the menu titles read it now.
    bumpUndoStackVersion();
}

void AppState::applyProjectSnapshot(const Project& snapshot, const Project& redoSnapshot, const QString& name,
                                    const QUuid& projectID) {
    Q_UNUSED(redoSnapshot);
    if (!m_currentBundle || m_currentBundle->project().id != projectID)
        return;
    const Project current = m_currentBundle->project();
    m_currentBundle->setProject(snapshot);
    m_currentBundle->scheduleSave();
    // Registered while undoing, this becomes the redo step; while redoing, the undo step again.
    m_undoManager.registerUndo([this, current, snapshot, name, projectID] {
        applyProjectSnapshot(current, snapshot, name, projectID);
    });
    m_undoManager.setActionName(name);
}

tl::expected<void, Error> AppState::apiUpdateClip(const QUuid& id, const std::function<void(Clip&)>& mutate) {
    if (!m_currentBundle)
        return tl::unexpected(apiError(QStringLiteral("No project open")));
    if (!m_currentBundle->project().timeline.clip(id))
        return tl::unexpected(apiError(QStringLiteral("Clip not found: %1").arg(uuidString(id))));
    m_currentBundle->update([&](Project& p) {
        for (Clip& c : p.timeline.clips)
            if (c.id == id) {
                mutate(c);
                break;
            }
    });
    return {};
}

QString AppState::undoTitle() const {
    const QString name = m_undoManager.undoActionName();
    return !m_undoManager.canUndo() || name.isEmpty() ? tr("Undo") : tr("Undo") + u' ' + name;
}

QString AppState::redoTitle() const {
    const QString name = m_undoManager.redoActionName();
    return !m_undoManager.canRedo() || name.isEmpty() ? tr("Redo") : tr("Redo") + u' ' + name;
}

QCoro::Task<tl::expected<int, Error>> AppState::apiGenerateAutoZoom(QUuid clipID) {
    if (!m_currentBundle)
        co_return tl::unexpected(apiError(QStringLiteral("No project open")));
    const Clip* clip = m_currentBundle->project().timeline.clip(clipID);
    if (!clip)
        co_return tl::unexpected(apiError(QStringLiteral("Clip not found: %1").arg(uuidString(clipID))));

    // The engine reads the clip's files on its own executor; the project may change meanwhile, so the
    // result goes to the clip with that id in the bundle the run started on.
    const std::shared_ptr<ProjectBundle> bundle = m_currentBundle;
    AutoZoomEngine engine;
    auto generating = engine.generate(*clip, *bundle);
    const KeyframeTrack<NormalizedRect> track = co_await generating;
    bundle->update([&](Project& p) {
        for (Clip& c : p.timeline.clips)
            if (c.id == clipID)
                c.zoomTrack = track;
    });
    co_return int(track.count());
}

} // namespace orvane
