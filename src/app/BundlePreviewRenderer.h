#pragma once

#include "project/Project.h"

#include <QByteArray>
#include <QImage>
#include <QString>

#include <optional>

namespace orvane {

// The picture of a project folder: the first clip's first filmstrip frame when there is one, else a
// 512 by 320 violet gradient with the project's name. Needs a QGuiApplication for the text.
class BundlePreviewRenderer {
public:
    static QImage render(const Project& project, const QString& bundlePath);
    // JPEG at quality 0.85, or none when it cannot be encoded.
    static std::optional<QByteArray> renderJPEG(const Project& project, const QString& bundlePath);
    // Installs renderJPEG as every ProjectBundle's preview.
    static void install();
};

} // namespace orvane
