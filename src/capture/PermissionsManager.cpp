#include "PermissionsManager.h"

#include "capture/pulse/PulseRecorder.h"
#include "capture/wayland/EvdevInputMonitor.h"
#include "capture/wayland/PortalScreenCast.h"
#include "capture/x11/X11ContentQuery.h"

#include <QCoro/QCoroFuture>
#include <QDir>
#include <QFile>

#include <fcntl.h>
#include <unistd.h>

namespace orvane {

namespace {

CapturePermissions::Status status(bool granted) {
    return granted ? CapturePermissions::Status::granted : CapturePermissions::Status::denied;
}

} // namespace

PermissionsManager& PermissionsManager::shared() {
    static PermissionsManager manager(CaptureEnvironment::fromSystem());
    return manager;
}

PermissionsManager::PermissionsManager(CaptureEnvironment environment)
    : m_environment(std::move(environment))
    , m_executor(QStringLiteral("tech.velvetcomet.orvane.screen.permissions")) {}

bool PermissionsManager::cameraReadable(const QString& deviceDirectory) {
    const QStringList devices =
        QDir(deviceDirectory)
            .entryList({QStringLiteral("video*")}, QDir::System | QDir::Files | QDir::Readable);
    for (const QString& name : devices) {
        const QByteArray path = QFile::encodeName(QDir(deviceDirectory).filePath(name));
        // Opening a capture device starts nothing; it only proves that we may.
        const int fd = ::open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd >= 0) {
            ::close(fd);
            return true;
        }
    }
    return false;
}

bool PermissionsManager::inputDevicesReadable(const QString& deviceDirectory) {
    const QStringList devices =
        QDir(deviceDirectory).entryList({QStringLiteral("event*")}, QDir::System | QDir::Files);
    for (const QString& name : devices) {
        const QByteArray path = QFile::encodeName(QDir(deviceDirectory).filePath(name));
        const int fd = ::open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd >= 0) {
            ::close(fd);
            return true;
        }
    }
    return false;
}

CapturePermissions PermissionsManager::check(const CaptureEnvironment& environment) {
    CapturePermissions permissions;
    if (environment.session == CaptureEnvironment::Session::wayland) {
        // The desktop's dialog is the user's consent to each first cast; what we can know beforehand is
        // whether a portal is there to ask. Clicks need the input devices, which the "input" group opens.
        permissions.screenRecording = status(PortalScreenCast::answers(
            PortalScreenCast::connectionFor(environment.portalBusAddress), portalTimeout));
        permissions.accessibility = status(inputDevicesReadable(environment.inputDeviceDirectory));
    } else {
        permissions.screenRecording = status(X11ContentQuery::captureAllowed(environment.displayName));
        permissions.accessibility = status(X11ContentQuery::hasXInput2(environment.displayName));
    }
    permissions.camera = status(cameraReadable(environment.videoDeviceDirectory));
    permissions.microphone = status(PulseRecorder::serverAnswers(environment.pulseServer, pulseTimeout));
    return permissions;
}

QCoro::Task<CapturePermissions> PermissionsManager::refresh() {
    auto checking = m_executor.submit([environment = m_environment] { return check(environment); });
    const CapturePermissions permissions = co_await checking;
    co_return permissions;
}

QCoro::Task<bool> PermissionsManager::requestMicrophone() {
    auto checking = m_executor.submit(
        [server = m_environment.pulseServer] { return PulseRecorder::serverAnswers(server, pulseTimeout); });
    const bool answered = co_await checking;
    co_return answered;
}

QCoro::Task<bool> PermissionsManager::requestCamera() {
    auto checking = m_executor.submit(
        [directory = m_environment.videoDeviceDirectory] { return cameraReadable(directory); });
    const bool readable = co_await checking;
    co_return readable;
}

} // namespace orvane
