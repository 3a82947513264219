#pragma once

#include "capture/CaptureSource.h"

#include <QAbstractListModel>
#include <QCoro/QCoroTask>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

#include <vector>

namespace orvane {

class AppState;
class SourceThumbnailCache;

// The source picker's cards: the application's sources of the kind the filter shows (displays first
// when the picker opens). A refresh forgets the pictures, rediscovers the sources and keeps the choice
// when it is still there, else chooses the first display, so Start works without a click.
class SourcesModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString filterMode READ filterMode WRITE setFilterMode NOTIFY filterModeChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(int selectedRow READ selectedRow NOTIFY selectionChanged)
public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        KindRole,
        TitleRole,
        SubtitleRole,
        SizeRole,
        AccessibleNameRole,
        SelectedRole
    };

    explicit SourcesModel(QObject* parent = nullptr);
    SourcesModel(AppState& app, SourceThumbnailCache& thumbnails, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    const QString& filterMode() const { return m_filterMode; }
    void setFilterMode(const QString& mode);
    bool isLoading() const { return m_isLoading; }
    int count() const { return int(m_rows.size()); }
    int selectedRow() const;

    // Forgets the pictures and discovers the sources again.
    Q_INVOKABLE void refresh();
    Q_INVOKABLE void select(const QString& id);
    // Asks for the card's picture; the cache answers once per refresh.
    Q_INVOKABLE void fetchThumbnail(int row);

    QCoro::Task<void> refreshNow();

    // A card's name for screen readers, in the interface's words.
    static QString accessibleName(const CaptureSource& source);
    static QString sizeText(const CaptureSource& source);

Q_SIGNALS:
    void filterModeChanged();
    void isLoadingChanged();
    void countChanged();
    void selectionChanged();
    // A refresh ended: the cards' pictures were forgotten and each card asks for its new one. Cards made
    // by the refresh asked already; this reaches those that stayed because the sources did not change.
    void picturesForgotten();

private:
    void rebuild();
    void chooseDefault();

    AppState* m_app = nullptr;
    SourceThumbnailCache* m_thumbnails = nullptr;
    QString m_filterMode = QStringLiteral("display");
    bool m_isLoading = false;
    std::vector<CaptureSource> m_rows;
};

} // namespace orvane
