#include "RecordingSourceChoice.h"

namespace orvane {

std::optional<CaptureSource::Kind> recordingSourceKind(const QString& sourceType) {
    if (sourceType == QLatin1StringView("display") || sourceType == QLatin1StringView("screen"))
        return CaptureSource::Kind::display;
    if (sourceType == QLatin1StringView("window"))
        return CaptureSource::Kind::window;
    if (sourceType == QLatin1StringView("app") || sourceType == QLatin1StringView("application"))
        return CaptureSource::Kind::app;
    return std::nullopt;
}

namespace {

const CaptureSource* firstWhere(const std::vector<const CaptureSource*>& candidates, auto&& predicate) {
    for (const CaptureSource* source : candidates)
        if (predicate(*source))
            return source;
    return nullptr;
}

// The passes run from strict to loose, each over all candidates, so an exact id beats a title that
// merely contains the text even when the title's source comes first.
const CaptureSource* matchText(const std::vector<const CaptureSource*>& candidates, const QString& text) {
    if (auto* exact = firstWhere(candidates, [&](const CaptureSource& s) { return s.id == text; }))
        return exact;
    const QString lower = text.toLower();
    if (auto* folded =
            firstWhere(candidates, [&](const CaptureSource& s) { return s.id.toLower() == lower; }))
        return folded;
    return firstWhere(candidates, [&](const CaptureSource& s) {
        return s.title.toLower().contains(lower) || s.subtitle.toLower().contains(lower);
    });
}

} // namespace

tl::expected<CaptureSource, ApiResponse> chooseRecordingSource(const std::vector<CaptureSource>& available,
                                                               const RecordingSourceRequest& request,
                                                               const QString& selectedSourceID) {
    const std::optional<CaptureSource::Kind> kind =
        request.sourceType ? recordingSourceKind(*request.sourceType) : std::nullopt;
    std::vector<const CaptureSource*> candidates;
    for (const CaptureSource& source : available)
        if (!kind || source.kind == *kind)
            candidates.push_back(&source);

    if (request.source && !request.source->isEmpty()) {
        if (const CaptureSource* match = matchText(candidates, *request.source))
            return *match;
        const QString label = request.sourceType && !request.sourceType->isEmpty() ? *request.sourceType
                                                                                   : QStringLiteral("source");
        return tl::make_unexpected(ApiResponse::error(
            404,
            QStringLiteral("No %1 matching '%2'. Use GET /sources to list.").arg(label, *request.source)));
    }
    if (kind && !candidates.empty())
        return *candidates.front();

    for (const CaptureSource& source : available)
        if (!selectedSourceID.isEmpty() && source.id == selectedSourceID)
            return source;
    for (const CaptureSource& source : available)
        if (source.kind == CaptureSource::Kind::display)
            return source;
    if (!available.empty())
        return available.front();
    return tl::make_unexpected(ApiResponse::error(400, QStringLiteral("No capture sources available")));
}

} // namespace orvane
