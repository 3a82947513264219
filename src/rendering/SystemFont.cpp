#include "SystemFont.h"

#include <QGuiApplication>

namespace orvane {

QFont SystemFont::font(double pixelSize, QFont::Weight weight) {
    QFont f;
    f.setFamilies({QStringLiteral("Inter"), QStringLiteral("sans-serif")});
    f.setStyleHint(QFont::SansSerif);
    f.setPixelSize(std::max(1, int(pixelSize + 0.5)));
    f.setWeight(weight);
    return f;
}

bool SystemFont::isAvailable() {
    return qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr;
}

} // namespace orvane
