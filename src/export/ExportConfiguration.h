#pragma once

#include "project/Geometry.h"
#include "project/Json.h"

#include <QSize>
#include <QString>

#include <cstdint>
#include <variant>

namespace orvane {

// What an export produces: where, which file type and codec, at which size, rate and bit rate. The
// sheet, the agent's tools and the loopback API all fill one in and hand it to the export queue.
struct ExportConfiguration {
    enum class Container { mp4, mov, gif };
    enum class Codec { h264, hevc, prores };

    struct Preset {
        enum class Kind { web1080, web4K, socialSquare, socialVertical, gif, custom };
        Kind kind = Kind::web1080;
        // Only for `custom`.
        int customWidth = 0;
        int customHeight = 0;
        int customFrameRate = 0;
        std::int64_t customBitRate = 0;

        static Preset web1080() { return {Kind::web1080}; }
        static Preset web4K() { return {Kind::web4K}; }
        static Preset socialSquare() { return {Kind::socialSquare}; }
        static Preset socialVertical() { return {Kind::socialVertical}; }
        static Preset gif() { return {Kind::gif}; }
        static Preset custom(int width, int height, int frameRate, std::int64_t bitRate) {
            return {Kind::custom, width, height, frameRate, bitRate};
        }

        // The preset's nominal size; what a file gets is ExportConfiguration::outputSize().
        Size size() const;
        int frameRate() const;
        // Bits per second; 0 means none is set.
        std::int64_t bitRate() const;

        bool operator==(const Preset&) const = default;
    };

    QString outputPath;
    Container container = Container::mp4;
    Codec codec = Codec::h264;
    bool includeAudio = true;
    Preset preset;

    // "mp4", "mov" or "gif".
    QString fileExtension() const;

    // The size of every output frame in whole pixels: the compositor's canvas and the encoder's frame
    // both come from here, so they cannot disagree. Each side is rounded down to an even number, as 4:2:0
    // chroma needs; a custom side under 2 pixels gives 0, which no encoder opens.
    QSize outputSize() const;

    bool operator==(const ExportConfiguration&) const = default;
};

constexpr auto enumEntries(ExportConfiguration::Container) {
    using C = ExportConfiguration::Container;
    return std::array{EnumEntry<C>{C::mp4, "mp4"}, EnumEntry<C>{C::mov, "mov"}, EnumEntry<C>{C::gif, "gif"}};
}
constexpr std::string_view enumTypeName(ExportConfiguration::Container) {
    return "ExportConfiguration.Container";
}
constexpr auto enumEntries(ExportConfiguration::Codec) {
    using C = ExportConfiguration::Codec;
    return std::array{EnumEntry<C>{C::h264, "h264"}, EnumEntry<C>{C::hevc, "hevc"},
                      EnumEntry<C>{C::prores, "prores"}};
}
constexpr std::string_view enumTypeName(ExportConfiguration::Codec) {
    return "ExportConfiguration.Codec";
}
constexpr auto enumEntries(ExportConfiguration::Preset::Kind) {
    using K = ExportConfiguration::Preset::Kind;
    return std::array{EnumEntry<K>{K::web1080, "web1080"},
                      EnumEntry<K>{K::web4K, "web4K"},
                      EnumEntry<K>{K::socialSquare, "socialSquare"},
                      EnumEntry<K>{K::socialVertical, "socialVertical"},
                      EnumEntry<K>{K::gif, "gif"},
                      EnumEntry<K>{K::custom, "custom"}};
}
constexpr std::string_view enumTypeName(ExportConfiguration::Preset::Kind) {
    return "ExportConfiguration.Preset";
}

} // namespace orvane
