#pragma once

// Owning handles for the PulseAudio client objects. The types are only declared here, so that headers
// which hold such handles do not pull PulseAudio's headers into their users.

#include <memory>

struct pa_threaded_mainloop;
struct pa_context;
struct pa_stream;
struct pa_operation;

namespace orvane::pulse {

// The loop's deleter stops its thread first; the others must run with the loop stopped or locked.
struct MainloopDeleter {
    void operator()(pa_threaded_mainloop* m) const;
};
struct ContextDeleter {
    void operator()(pa_context* c) const;
};
struct StreamDeleter {
    void operator()(pa_stream* s) const;
};
struct OperationDeleter {
    void operator()(pa_operation* o) const;
};

using MainloopPtr = std::unique_ptr<pa_threaded_mainloop, MainloopDeleter>;
using ContextPtr = std::unique_ptr<pa_context, ContextDeleter>;
using StreamPtr = std::unique_ptr<pa_stream, StreamDeleter>;
using OperationPtr = std::unique_ptr<pa_operation, OperationDeleter>;

// Holds the threaded main loop's lock for a scope.
class MainloopLock {
public:
    explicit MainloopLock(pa_threaded_mainloop* m);
    ~MainloopLock();
    MainloopLock(const MainloopLock&) = delete;
    MainloopLock& operator=(const MainloopLock&) = delete;

private:
    pa_threaded_mainloop* m_mainloop;
};

} // namespace orvane::pulse
