#include "PulseHandles.h"

#include <pulse/context.h>
#include <pulse/operation.h>
#include <pulse/stream.h>
#include <pulse/thread-mainloop.h>

namespace orvane::pulse {

void MainloopDeleter::operator()(pa_threaded_mainloop* m) const {
    pa_threaded_mainloop_stop(m);
    pa_threaded_mainloop_free(m);
}

void ContextDeleter::operator()(pa_context* c) const {
    pa_context_set_state_callback(c, nullptr, nullptr);
    pa_context_disconnect(c);
    pa_context_unref(c);
}

void StreamDeleter::operator()(pa_stream* s) const {
    pa_stream_set_read_callback(s, nullptr, nullptr);
    pa_stream_set_state_callback(s, nullptr, nullptr);
    if (PA_STREAM_IS_GOOD(pa_stream_get_state(s)))
        pa_stream_disconnect(s);
    pa_stream_unref(s);
}

void OperationDeleter::operator()(pa_operation* o) const {
    pa_operation_unref(o);
}

MainloopLock::MainloopLock(pa_threaded_mainloop* m)
    : m_mainloop(m) {
    pa_threaded_mainloop_lock(m_mainloop);
}

MainloopLock::~MainloopLock() {
    pa_threaded_mainloop_unlock(m_mainloop);
}

} // namespace orvane::pulse
