#pragma once

#include "capture/CaptureSource.h"
#include "project/Geometry.h"

#include <QDateTime>
#include <QString>

#include <optional>
#include <vector>

namespace orvane {

class JsonIn;
class JsonValue;

// A source the user once chose in the desktop's dialog, kept with the portal's restore token so that the
// next recording of it starts without asking. The portal says nothing about what was chosen beyond its
// kind and size, so that is what names it.
struct RememberedSource {
    QString id; // "portal-" + a uuid of our own
    CaptureSource::Kind kind = CaptureSource::Kind::display;
    Size pixelSize;
    QString restoreToken;
    // The desktop could only draw the pointer into the picture.
    bool cursorInPicture = false;
    QDateTime lastUsed;

    // "Display 1920 × 1080" or "Window 800 × 600".
    QString title() const;
    CaptureSource asSource() const;

    bool operator==(const RememberedSource&) const = default;
};

void fromJson(const JsonIn& in, RememberedSource& out);
JsonValue toJson(const RememberedSource& value);

// The remembered sources in a file of their own, most recently used first. A missing or damaged file is
// an empty list: the worst that happens is one more dialog. Each change is written at once, atomically.
class RememberedSources {
public:
    static constexpr int maximumCount = 8;
    static constexpr const char* idPrefix = "portal-";
    // The picker's entries that open the desktop's own dialog.
    static constexpr const char* chooseDisplayID = "portal-choose-display";
    static constexpr const char* chooseWindowID = "portal-choose-window";

    // An empty path keeps nothing between runs.
    explicit RememberedSources(QString path);

    const std::vector<RememberedSource>& sources() const { return m_sources; }
    std::optional<RememberedSource> find(const QString& id) const;

    // Keeps `source` first: an existing id is replaced, the oldest beyond the maximum are forgotten.
    // False with nothing changed on disk when the file cannot be written.
    bool remember(RememberedSource source);
    // A token the portal no longer honours.
    bool forget(const QString& id);

private:
    bool save() const;

    QString m_path;
    std::vector<RememberedSource> m_sources;
};

} // namespace orvane
