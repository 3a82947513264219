#pragma once

#include "direction/AutoRecompose.h"
#include "project/ProjectBundle.h"

#include <QCoro/QCoroTask>

#include <memory>

namespace orvane {

// Reframes every clip of the project that has a source video for `targetAspect` before a social export:
// each clip's movie (and cursor file) is read off the main thread, and the result replaces that clip's
// zoom track in the bundle, which saves it. The new framing stays in the project after the export. A clip
// whose movie can't be read keeps the zoom it had. Starts and ends on the main thread.
QCoro::Task<void> applyAutoRecompose(std::shared_ptr<ProjectBundle> bundle, double targetAspect,
                                     AutoRecompose::Strategy strategy);

} // namespace orvane
