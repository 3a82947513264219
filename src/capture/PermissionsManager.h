#pragma once

#include "capture/CaptureEnvironment.h"
#include "capture/CapturePermissions.h"
#include "support/SerialExecutor.h"

#include <QCoro/QCoroTask>

#include <chrono>

namespace orvane {

// Tells what the recorder may use. Nothing on X11 asks the user: each permission is read off the system
// as it stands (the X server lets us read the screen, XInput 2 is there, a PulseAudio server answers, a
// video device opens), so the answers are only ever granted or denied. Holds no state; the checks run on
// the manager's own serial executor "tech.velvetcomet.orvane.screen.permissions".
class PermissionsManager {
public:
    static PermissionsManager& shared();
    explicit PermissionsManager(CaptureEnvironment environment);

    QCoro::Task<CapturePermissions> refresh();
    // There is no dialog to show: these say whether the microphone or a camera can be used now.
    QCoro::Task<bool> requestMicrophone();
    QCoro::Task<bool> requestCamera();

    // The checks themselves, blocking.
    static CapturePermissions check(const CaptureEnvironment& environment);
    static bool cameraReadable(const QString& deviceDirectory);
    // Wayland's stand-in for the input tap's permission: one input device can be opened for reading.
    static bool inputDevicesReadable(const QString& deviceDirectory);

    static constexpr std::chrono::milliseconds pulseTimeout{2000};
    static constexpr std::chrono::milliseconds portalTimeout{2000};

private:
    CaptureEnvironment m_environment;
    SerialExecutor m_executor;
};

} // namespace orvane
