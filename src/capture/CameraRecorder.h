#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <tl/expected.hpp>

namespace orvane {

// What the capture engine asks of a camera: to start recording into a movie of its own. The camera itself
// (its device, queue and writer) lives elsewhere; the engine only starts it, and whoever made it stops it
// before the engine stops.
class CameraRecorder {
public:
    virtual ~CameraRecorder() = default;
    // An empty `deviceUniqueID` means the default camera. Fails with the reason.
    virtual QCoro::Task<tl::expected<void, QString>> start(QString deviceUniqueID, QString path) = 0;
};

} // namespace orvane
