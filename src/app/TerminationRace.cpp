#include "TerminationRace.h"

#include <memory>

namespace orvane {

namespace {

struct ReplyBox {
    bool replied = false;
    std::function<void(bool)> reply;
    std::unique_ptr<TimerHandle> limit;

    void answer() {
        if (replied)
            return;
        replied = true;
        limit.reset();
        reply(true);
    }
};

QCoro::Task<void> stopThenReply(std::function<QCoro::Task<void>()> stop, std::shared_ptr<ReplyBox> box) {
    auto stopping = stop();
    co_await stopping;
    box->answer();
}

} // namespace

void replyOnceWhenDone(Clock& clock, double limitSeconds, std::function<QCoro::Task<void>()> stop,
                       std::function<void(bool)> reply, std::function<void()> onTimeout) {
    auto box = std::make_shared<ReplyBox>();
    box->reply = std::move(reply);
    // The timer holds the box weakly: the box owns the timer.
    std::weak_ptr<ReplyBox> weak = box;
    box->limit = clock.startTimer(limitSeconds, [weak, onTimeout = std::move(onTimeout)] {
        auto strong = weak.lock();
        if (!strong || strong->replied)
            return;
        if (onTimeout)
            onTimeout();
        strong->answer();
    });
    // Fire and forget: the task keeps the box alive until the stop ends.
    stopThenReply(std::move(stop), box);
}

} // namespace orvane
