#pragma once

#include "support/Clock.h"

#include <QCoro/QCoroTask>

#include <functional>

namespace orvane {

// Quitting during a recording: the stop and a time limit race on the main thread, and `reply` is
// called exactly once, with true, by whichever ends first. `onTimeout` runs when the limit wins.
void replyOnceWhenDone(Clock& clock, double limitSeconds, std::function<QCoro::Task<void>()> stop,
                       std::function<void(bool)> reply, std::function<void()> onTimeout = {});

} // namespace orvane
