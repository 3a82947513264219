#include "RememberedSources.h"

#include "project/Json.h"
#include "support/Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>

namespace orvane {

namespace {
constexpr const char* tag = "CaptureEngine";
}

QString RememberedSource::title() const {
    const QString what =
        kind == CaptureSource::Kind::window ? QStringLiteral("Window") : QStringLiteral("Display");
    return QStringLiteral("%1 %2 \u00d7 %3").arg(what).arg(int(pixelSize.width)).arg(int(pixelSize.height));
}

CaptureSource RememberedSource::asSource() const {
    CaptureSource source;
    source.id = id;
    source.kind = kind;
    source.title = title();
    source.subtitle = cursorInPicture
                          ? QStringLiteral("Chosen before \u00b7 the cursor is recorded in the picture")
                          : QStringLiteral("Chosen before");
    source.pixelSize = pixelSize;
    return source;
}

void fromJson(const JsonIn& in, RememberedSource& out) {
    const JsonObjectIn o(in);
    out.id = o.required<QString>("id");
    const QString kind = o.required<QString>("kind");
    const auto parsed = CaptureSource::kindFromName(kind);
    if (!parsed || *parsed == CaptureSource::Kind::app)
        in.fail(QStringLiteral("unknown source kind \"%1\"").arg(kind));
    out.kind = *parsed;
    out.pixelSize = o.required<Size>("pixelSize");
    out.restoreToken = o.required<QString>("restoreToken");
    out.cursorInPicture = o.optional<bool>("cursorInPicture").value_or(false);
    out.lastUsed = o.required<QDateTime>("lastUsed");
}

JsonValue toJson(const RememberedSource& value) {
    JsonObjectOut o;
    o.set("id", value.id)
        .set("kind", CaptureSource::kindName(value.kind))
        .set("pixelSize", value.pixelSize)
        .set("restoreToken", value.restoreToken)
        .set("cursorInPicture", value.cursorInPicture)
        .set("lastUsed", value.lastUsed);
    return o.take();
}

RememberedSources::RememberedSources(QString path)
    : m_path(std::move(path)) {
    if (m_path.isEmpty())
        return;
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return;
    try {
        const JsonPath root;
        m_sources = decodeJson<std::vector<RememberedSource>>(JsonIn(readJsonDocument(file.readAll()), root));
    } catch (const JsonError& error) {
        log::warning(tag, QStringLiteral("remembered sources unreadable, starting afresh: %1")
                              .arg(QString::fromUtf8(error.what())));
        m_sources.clear();
    }
}

std::optional<RememberedSource> RememberedSources::find(const QString& id) const {
    const auto it = std::find_if(m_sources.begin(), m_sources.end(),
                                 [&](const RememberedSource& s) { return s.id == id; });
    if (it == m_sources.end())
        return std::nullopt;
    return *it;
}

bool RememberedSources::remember(RememberedSource source) {
    std::vector<RememberedSource> before = m_sources;
    std::erase_if(m_sources, [&](const RememberedSource& s) { return s.id == source.id; });
    m_sources.insert(m_sources.begin(), std::move(source));
    if (m_sources.size() > std::size_t(maximumCount))
        m_sources.resize(std::size_t(maximumCount));
    if (save())
        return true;
    m_sources = std::move(before);
    return false;
}

bool RememberedSources::forget(const QString& id) {
    std::vector<RememberedSource> before = m_sources;
    if (std::erase_if(m_sources, [&](const RememberedSource& s) { return s.id == id; }) == 0)
        return true;
    if (save())
        return true;
    m_sources = std::move(before);
    return false;
}

bool RememberedSources::save() const {
    if (m_path.isEmpty())
        return true;
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly)) {
        log::warning(tag, QStringLiteral("remembered sources not written: ") + file.errorString());
        return false;
    }
    // The tokens let a later run record without asking: only the user may read them.
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(writeJsonDocument(toJson(m_sources)));
    if (!file.commit()) {
        log::warning(tag, QStringLiteral("remembered sources not written: ") + file.errorString());
        return false;
    }
    return true;
}

} // namespace orvane
