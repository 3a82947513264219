#pragma once

#include <QObject>
#include <QString>

#include <deque>
#include <functional>

namespace orvane {

// Undo by registered closures, with the classic rule that what an undo registers becomes the redo
// step and what a redo registers becomes the undo step again. Each registration outside undo and redo
// is one step and clears the redo stack; at most `levelsOfUndo` steps are kept, the oldest dropped.
// Main thread only.
class UndoManager : public QObject {
    Q_OBJECT
public:
    explicit UndoManager(int levelsOfUndo, QObject* parent = nullptr);

    int levelsOfUndo() const { return m_levels; }
    void registerUndo(std::function<void()> action);
    // Names the step registered last.
    void setActionName(const QString& name);

    bool canUndo() const { return !m_undo.empty(); }
    bool canRedo() const { return !m_redo.empty(); }
    QString undoActionName() const { return m_undo.empty() ? QString() : m_undo.back().name; }
    QString redoActionName() const { return m_redo.empty() ? QString() : m_redo.back().name; }
    std::size_t undoCount() const { return m_undo.size(); }
    bool isUndoing() const { return m_state == State::undoing; }
    bool isRedoing() const { return m_state == State::redoing; }

    void undo();
    void redo();
    void removeAllActions();

Q_SIGNALS:
    void didUndo();
    void didRedo();
    void willCloseUndoGroup();
    void didCloseUndoGroup();
    void checkpoint();

private:
    struct Step {
        std::function<void()> action;
        QString name;
    };
    enum class State { normal, undoing, redoing };

    int m_levels;
    State m_state = State::normal;
    std::deque<Step> m_undo;
    std::deque<Step> m_redo;
    std::deque<Step>* m_lastRegistered = nullptr;
};

} // namespace orvane
