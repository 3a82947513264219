#pragma once

#include <QImage>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace orvane {

class SourceThumbnailCache;

// A source's live picture, fitted into the item. The picture becomes a texture once when it lands; the
// scene graph scales it, so a grid of twenty cards costs no painting per frame.
class SourceThumbnailItem : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString sourceID READ sourceID WRITE setSourceID NOTIFY sourceIDChanged)
    Q_PROPERTY(bool hasPicture READ hasPicture NOTIFY hasPictureChanged)
public:
    explicit SourceThumbnailItem(QQuickItem* parent = nullptr);

    const QString& sourceID() const { return m_sourceID; }
    void setSourceID(const QString& id);
    bool hasPicture() const { return !m_image.isNull(); }

Q_SIGNALS:
    void sourceIDChanged();
    void hasPictureChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData*) override;

private:
    void takePicture();

    SourceThumbnailCache& m_cache;
    QString m_sourceID;
    QImage m_image;
    const void* m_frameData = nullptr;
    bool m_imageChanged = false;
};

} // namespace orvane
