#include "SourcesModel.h"

#include "AppViewModel.h"
#include "Strings.h"
#include "app/AppState.h"
#include "capture/SourceThumbnailCache.h"

namespace orvane {

SourcesModel::SourcesModel(QObject* parent)
    : SourcesModel(AppViewModel::current()->appState(), SourceThumbnailCache::shared(), parent) {}

SourcesModel::SourcesModel(AppState& app, SourceThumbnailCache& thumbnails, QObject* parent)
    : QAbstractListModel(parent)
    , m_app(&app)
    , m_thumbnails(&thumbnails) {
    connect(&app, &AppState::availableSourcesChanged, this, &SourcesModel::rebuild);
    connect(&app, &AppState::selectedSourceIDChanged, this, [this] {
        if (!m_rows.empty())
            Q_EMIT dataChanged(index(0), index(int(m_rows.size()) - 1), {SelectedRole});
        Q_EMIT selectionChanged();
    });
    rebuild();
}

QString SourcesModel::accessibleName(const CaptureSource& source) {
    // What a screen reader says for a card: its name, then what recording it would take in.
    const Strings strings;
    switch (source.kind) {
    case CaptureSource::Kind::display:
        return strings.f(QStringLiteral("source.card.a11y.display"),
                         QStringLiteral("%1, the whole screen, %2"), {source.title, sizeText(source)});
    case CaptureSource::Kind::window:
        return strings.f(QStringLiteral("source.card.a11y.window"), QStringLiteral("%1, a window of %2"),
                         {source.title, source.subtitle});
    case CaptureSource::Kind::app:
        return strings.f(QStringLiteral("source.card.a11y.app"),
                         QStringLiteral("%1, every window of the application"), {source.title});
    }
    return source.title;
}

QString SourcesModel::sizeText(const CaptureSource& source) {
    return QStringLiteral("%1 × %2").arg(qRound(source.pixelSize.width)).arg(qRound(source.pixelSize.height));
}

int SourcesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

QHash<int, QByteArray> SourcesModel::roleNames() const {
    return {{IdRole, "sourceId"},       {KindRole, "kind"},     {TitleRole, "title"},
            {SubtitleRole, "subtitle"}, {SizeRole, "sizeText"}, {AccessibleNameRole, "accessibleName"},
            {SelectedRole, "selected"}};
}

QVariant SourcesModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= int(m_rows.size()))
        return {};
    const CaptureSource& source = m_rows[size_t(index.row())];
    switch (role) {
    case IdRole:
        return source.id;
    case KindRole:
        return CaptureSource::kindName(source.kind);
    case TitleRole:
        return source.title;
    case SubtitleRole:
        return source.subtitle;
    case SizeRole:
        return sizeText(source);
    case AccessibleNameRole:
        return accessibleName(source);
    case SelectedRole:
        return source.id == m_app->selectedSourceID();
    }
    return {};
}

void SourcesModel::setFilterMode(const QString& mode) {
    if (mode == m_filterMode || !CaptureSource::kindFromName(mode))
        return;
    m_filterMode = mode;
    Q_EMIT filterModeChanged();
    rebuild();
}

int SourcesModel::selectedRow() const {
    for (size_t row = 0; row < m_rows.size(); ++row)
        if (m_rows[row].id == m_app->selectedSourceID())
            return int(row);
    return -1;
}

void SourcesModel::rebuild() {
    beginResetModel();
    m_rows.clear();
    for (const CaptureSource& source : m_app->availableSources())
        if (CaptureSource::kindName(source.kind) == m_filterMode)
            m_rows.push_back(source);
    endResetModel();
    Q_EMIT countChanged();
    Q_EMIT selectionChanged();
}

void SourcesModel::chooseDefault() {
    const auto& sources = m_app->availableSources();
    for (const CaptureSource& source : sources)
        if (source.id == m_app->selectedSourceID())
            return;
    for (const CaptureSource& source : sources)
        if (source.kind == CaptureSource::Kind::display) {
            m_app->setSelectedSourceID(source.id);
            return;
        }
}

void SourcesModel::refresh() {
    refreshNow();
}

QCoro::Task<void> SourcesModel::refreshNow() {
    if (m_isLoading)
        co_return;
    const QPointer<SourcesModel> self(this);
    m_isLoading = true;
    Q_EMIT isLoadingChanged();
    m_thumbnails->clear();
    auto refreshing = m_app->refreshSources();
    co_await refreshing;
    if (!self)
        co_return;
    chooseDefault();
    m_isLoading = false;
    Q_EMIT isLoadingChanged();
    Q_EMIT picturesForgotten();
}

void SourcesModel::select(const QString& id) {
    m_app->setSelectedSourceID(id);
}

void SourcesModel::fetchThumbnail(int row) {
    if (row >= 0 && row < int(m_rows.size()))
        m_thumbnails->fetchIfNeeded(m_rows[size_t(row)]);
}

} // namespace orvane
