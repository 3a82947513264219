#pragma once

#include <QDateTime>
#include <QString>
#include <QUuid>

#include <functional>
#include <variant>
#include <vector>

namespace orvane {

enum class AppScreen { welcome, sourcePicker, recording, editor, exporting, live };

struct RecordingPhase {
    struct CountingDown {
        int remaining = 0;
        bool operator==(const CountingDown&) const = default;
    };
    struct Recording {
        QDateTime startedAt;
        bool operator==(const Recording&) const = default;
    };
    struct Idle {
        bool operator==(const Idle&) const = default;
    };
    struct Stopping {
        bool operator==(const Stopping&) const = default;
    };

    std::variant<Idle, CountingDown, Recording, Stopping> value;

    static RecordingPhase idle() { return {Idle{}}; }
    static RecordingPhase countingDown(int remaining) { return {CountingDown{remaining}}; }
    static RecordingPhase recording(QDateTime startedAt) { return {Recording{std::move(startedAt)}}; }
    static RecordingPhase stopping() { return {Stopping{}}; }

    bool isIdle() const { return std::holds_alternative<Idle>(value); }
    bool isStopping() const { return std::holds_alternative<Stopping>(value); }
    bool isCountingDown() const { return std::holds_alternative<CountingDown>(value); }
    bool isRecording() const { return std::holds_alternative<Recording>(value); }

    bool operator==(const RecordingPhase&) const = default;
};

struct PermissionsState {
    enum class Status { unknown, granted, denied, notDetermined };
    Status screenRecording = Status::unknown;
    Status camera = Status::unknown;
    Status microphone = Status::unknown;
    Status accessibility = Status::unknown;

    bool operator==(const PermissionsState&) const = default;
};

// A failure the user must see, with the ways out that the alert offers as buttons.
struct AppError {
    struct RecoveryAction {
        QString title;
        std::function<void()> handler; // runs on the main thread
    };

    QUuid id = QUuid::createUuid();
    QString title;
    QString message;
    std::vector<RecoveryAction> recoveryActions;

    // Identity and texts; the handlers are not comparable.
    bool operator==(const AppError& o) const {
        return id == o.id && title == o.title && message == o.message;
    }
};

} // namespace orvane
