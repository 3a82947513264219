#include "CaptureEnvironment.h"

#include <QCoreApplication>

#include <unistd.h>

namespace orvane {

CaptureEnvironment CaptureEnvironment::fromSystem() {
    CaptureEnvironment env;
    env.own.bundleIdentifier = QCoreApplication::applicationName();
    env.own.processID = std::uint32_t(::getpid());
    return env;
}

} // namespace orvane
