#include "SourceThumbnailItem.h"

#include "capture/SourceThumbnailCache.h"

#include <QQuickWindow>
#include <QSGImageNode>

namespace orvane {

SourceThumbnailItem::SourceThumbnailItem(QQuickItem* parent)
    : QQuickItem(parent)
    , m_cache(SourceThumbnailCache::shared()) {
    setFlag(ItemHasContents, true);
    connect(&m_cache, &SourceThumbnailCache::changed, this, &SourceThumbnailItem::takePicture);
}

void SourceThumbnailItem::setSourceID(const QString& id) {
    if (id == m_sourceID)
        return;
    m_sourceID = id;
    Q_EMIT sourceIDChanged();
    takePicture();
}

void SourceThumbnailItem::takePicture() {
    const auto frame = m_cache.thumbnail(m_sourceID);
    if (!frame) {
        // A refresh forgot the pictures: keep showing the old one until the new one lands.
        return;
    }
    // Every picture that lands tells every card; only a new one for this source is copied.
    if (m_frameData == frame->data())
        return;
    m_frameData = frame->data();
    // The frame's pixels are premultiplied BGRA, which is what QImage calls ARGB32_Premultiplied here; the
    // copy detaches the picture from the cache's buffer.
    m_image = QImage(frame->data(), frame->width(), frame->height(), frame->stride(),
                     QImage::Format_ARGB32_Premultiplied)
                  .copy();
    m_imageChanged = true;
    Q_EMIT hasPictureChanged();
    update();
}

QSGNode* SourceThumbnailItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    auto* node = static_cast<QSGImageNode*>(old);
    if (m_image.isNull() || width() <= 0 || height() <= 0) {
        delete node;
        return nullptr;
    }
    if (!node) {
        node = window()->createImageNode();
        node->setOwnsTexture(true);
        node->setFiltering(QSGTexture::Linear);
        m_imageChanged = true;
    }
    if (m_imageChanged) {
        node->setTexture(window()->createTextureFromImage(m_image));
        m_imageChanged = false;
    }
    // Fitted inside the item, centred, with its own shape.
    const QSizeF picture = m_image.size();
    const qreal scale = std::min(width() / picture.width(), height() / picture.height());
    const QSizeF fitted = picture * scale;
    node->setRect(QRectF(QPointF((width() - fitted.width()) / 2, (height() - fitted.height()) / 2), fitted));
    return node;
}

} // namespace orvane
