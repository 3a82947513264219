#pragma once

#include <QImage>
#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace orvane {

class VersionHistoryModel;

// The version history's still of the picked version, fitted into the item and centred. The still becomes
// a texture once when it lands; the scene graph scales it.
class VersionPreviewItem : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(orvane::VersionHistoryModel* model READ model WRITE setModel NOTIFY modelChanged FINAL)
    Q_PROPERTY(bool hasPicture READ hasPicture NOTIFY hasPictureChanged FINAL)
public:
    explicit VersionPreviewItem(QQuickItem* parent = nullptr);

    VersionHistoryModel* model() const { return m_model; }
    void setModel(VersionHistoryModel* model);
    bool hasPicture() const { return !m_image.isNull(); }
    // For tests: the picture last handed to the scene graph.
    const QImage& image() const { return m_image; }

Q_SIGNALS:
    void modelChanged();
    void hasPictureChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData*) override;

private:
    void takePicture();

    QPointer<VersionHistoryModel> m_model;
    QMetaObject::Connection m_modelConnection;
    QImage m_image;
    bool m_imageChanged = false;
};

} // namespace orvane
