#include "VersionPreviewItem.h"

#include "VersionHistoryModel.h"

#include <QQuickWindow>
#include <QSGImageNode>

namespace orvane {

VersionPreviewItem::VersionPreviewItem(QQuickItem* parent)
    : QQuickItem(parent) {
    setFlag(ItemHasContents, true);
}

void VersionPreviewItem::setModel(VersionHistoryModel* model) {
    if (model == m_model)
        return;
    disconnect(m_modelConnection);
    m_model = model;
    if (model)
        m_modelConnection =
            connect(model, &VersionHistoryModel::previewImageChanged, this, &VersionPreviewItem::takePicture);
    Q_EMIT modelChanged();
    takePicture();
}

void VersionPreviewItem::takePicture() {
    const QImage next = m_model ? m_model->previewImage() : QImage();
    if (next.isNull() && m_image.isNull())
        return;
    const bool had = hasPicture();
    m_image = next;
    m_imageChanged = true;
    if (had != hasPicture())
        Q_EMIT hasPictureChanged();
    update();
}

QSGNode* VersionPreviewItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    auto* node = static_cast<QSGImageNode*>(old);
    if (m_image.isNull() || width() <= 0 || height() <= 0) {
        delete node;
        m_imageChanged = true; // a new node must get the texture again
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
    const QSizeF picture = m_image.size();
    const qreal scale = std::min(width() / picture.width(), height() / picture.height());
    const QSizeF fitted = picture * scale;
    node->setRect(QRectF(QPointF((width() - fitted.width()) / 2, (height() - fitted.height()) / 2), fitted));
    return node;
}

} // namespace orvane
