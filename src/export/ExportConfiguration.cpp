#include "ExportConfiguration.h"

namespace orvane {

Size ExportConfiguration::Preset::size() const {
    switch (kind) {
    case Kind::web1080:
        return {1920, 1080};
    case Kind::web4K:
        return {3840, 2160};
    case Kind::socialSquare:
        return {1080, 1080};
    case Kind::socialVertical:
        return {1080, 1920};
    case Kind::gif:
        return {800, 600};
    case Kind::custom:
        return {double(customWidth), double(customHeight)};
    }
    return {1920, 1080};
}

int ExportConfiguration::Preset::frameRate() const {
    switch (kind) {
    case Kind::gif:
        return 24;
    case Kind::custom:
        return customFrameRate;
    default:
        return 60;
    }
}

std::int64_t ExportConfiguration::Preset::bitRate() const {
    switch (kind) {
    case Kind::web1080:
        return 12'000'000;
    case Kind::web4K:
        return 48'000'000;
    case Kind::socialSquare:
    case Kind::socialVertical:
        return 8'000'000;
    case Kind::gif:
        return 0;
    case Kind::custom:
        return customBitRate;
    }
    return 0;
}

QSize ExportConfiguration::outputSize() const {
    const Size nominal = preset.size();
    const auto even = [](double side) {
        return side >= 2 ? int(side) / 2 * 2 : 0;
    };
    return {even(nominal.width), even(nominal.height)};
}

QString ExportConfiguration::fileExtension() const {
    return enumString(container);
}

} // namespace orvane
