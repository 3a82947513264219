#include "UndoManager.h"

namespace orvane {

UndoManager::UndoManager(int levelsOfUndo, QObject* parent)
    : QObject(parent)
    , m_levels(levelsOfUndo) {}

void UndoManager::registerUndo(std::function<void()> action) {
    Q_EMIT checkpoint();
    Q_EMIT willCloseUndoGroup();
    switch (m_state) {
    case State::normal:
        m_redo.clear();
        [[fallthrough]];
    case State::redoing:
        m_undo.push_back({std::move(action), QString()});
        while (m_levels > 0 && m_undo.size() > std::size_t(m_levels))
            m_undo.pop_front();
        m_lastRegistered = &m_undo;
        break;
    case State::undoing:
        m_redo.push_back({std::move(action), QString()});
        m_lastRegistered = &m_redo;
        break;
    }
    Q_EMIT didCloseUndoGroup();
}

void UndoManager::setActionName(const QString& name) {
    if (m_lastRegistered && !m_lastRegistered->empty())
        m_lastRegistered->back().name = name;
}

void UndoManager::undo() {
    if (m_undo.empty() || m_state != State::normal)
        return;
    Step step = std::move(m_undo.back());
    m_undo.pop_back();
    m_state = State::undoing;
    step.action();
    m_state = State::normal;
    Q_EMIT didUndo();
}

void UndoManager::redo() {
    if (m_redo.empty() || m_state != State::normal)
        return;
    Step step = std::move(m_redo.back());
    m_redo.pop_back();
    m_state = State::redoing;
    step.action();
    m_state = State::normal;
    Q_EMIT didRedo();
}

void UndoManager::removeAllActions() {
    m_undo.clear();
    m_redo.clear();
    m_lastRegistered = nullptr;
    Q_EMIT checkpoint();
}

} // namespace orvane
