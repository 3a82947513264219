#pragma once

#include <QString>

namespace orvane {

struct ExporterError {
    enum class Kind { readerFailed, writerFailed, noClips, noSource, cancelled, notSupported };
    Kind kind = Kind::writerFailed;
    QString text; // readerFailed, writerFailed, notSupported

    static ExporterError reader(QString text) { return {Kind::readerFailed, std::move(text)}; }
    static ExporterError writer(QString text) { return {Kind::writerFailed, std::move(text)}; }
    static ExporterError of(Kind kind) { return {kind, {}}; }

    QString description() const;
    bool operator==(const ExporterError&) const = default;
};

} // namespace orvane
