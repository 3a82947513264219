#include "SourceThumbnailItem.h"

#include "capture/SourceThumbnailCache.h"

#include <QQuickWindow>
#include <QSGImageNode>

#include <utility>

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
    // Another source's picture must not stand in for this one's.
    const bool hadPicture = hasPicture();
    m_image = QImage();
    m_frameData = nullptr;
    m_imageChanged = true;
    Q_EMIT sourceIDChanged();
    takePicture();
    if (hadPicture && !hasPicture()) {
        Q_EMIT hasPictureChanged();
        update();
    }
}

void SourceThumbnailItem::takePicture() {
    const auto frame = m_cache.thumbnail(m_sourceID);
    if (!frame) {
        // A refresh forgot the pictures: keep showing the old one until the new one lands.
        return;
    }
    // Every picture that lands tells every card; only a new one for this source is taken.
    if (m_frameData == frame->data())
        return;
    m_frameData = frame->data();
    // The cache never writes to a picture once stored, so the image borrows its pixels (premultiplied
    // BGRA, QImage's ARGB32_Premultiplied here) instead of copying them; the image and every shallow copy
    // of it the scene graph keeps hold a handle of the frame, so the pixels live while anything reads them.
    auto* handle = new VideoFrame(*frame);
    m_image = QImage(
        std::as_const(*handle).data(), handle->width(), handle->height(), handle->stride(),
        QImage::Format_ARGB32_Premultiplied, [](void* owned) { delete static_cast<VideoFrame*>(owned); },
        handle);
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
