#include "ui/PreviewItem.h"

#include "app/AppState.h"
#include "project/ProjectBundle.h"
#include "ui/AppViewModel.h"

#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGRectangleNode>

#include <algorithm>

namespace orvane {

PreviewItem::PreviewItem(QQuickItem* parent)
    : QQuickItem(parent) {
    setFlag(ItemHasContents);
    connect(&m_player, &PreviewPlayer::frameComposed, this, &PreviewItem::frameComposed);
    connect(&m_player, &PreviewPlayer::playheadTimeChanged, this, &PreviewItem::playheadTimeChanged);
    connect(&m_player, &PreviewPlayer::playingChanged, this, &PreviewItem::isPlayingChanged);
    connect(&m_player, &PreviewPlayer::transportRateChanged, this, &PreviewItem::transportRateChanged);
    connect(&m_player, &PreviewPlayer::loaded, this, [this] {
        Q_EMIT durationChanged();
        if (m_hadClip != m_player.hasClip()) {
            m_hadClip = m_player.hasClip();
            Q_EMIT hasClipChanged();
        }
        if (!m_player.hasClip()) {
            m_pendingImage = {};
            m_imageChanged = true;
            update();
        }
    });
}

PreviewItem::~PreviewItem() = default;

void PreviewItem::componentComplete() {
    QQuickItem::componentComplete();
    if (AppViewModel* model = AppViewModel::current()) {
        connect(&model->appState(), &AppState::currentBundleChanged, this, [this] {
            watchBundle();
            reload();
        });
    }
    watchBundle();
    reload();
}

void PreviewItem::setClipId(const QString& id) {
    if (id == m_clipId)
        return;
    m_clipId = id;
    Q_EMIT clipIdChanged();
    if (isComponentComplete())
        reload();
}

void PreviewItem::setPlayheadTime(double seconds) {
    // While playing the clock owns the playhead; a write from outside is a seek.
    if (seconds == m_player.playheadTime())
        return;
    m_player.seek(seconds);
}

void PreviewItem::watchBundle() {
    disconnect(m_projectConnection);
    AppViewModel* model = AppViewModel::current();
    const std::shared_ptr<ProjectBundle> bundle = model ? model->appState().currentBundle() : nullptr;
    m_bundle = bundle;
    if (bundle)
        m_projectConnection =
            connect(bundle.get(), &ProjectBundle::projectChanged, this, &PreviewItem::reload);
}

void PreviewItem::reload() {
    const std::shared_ptr<ProjectBundle> bundle = m_bundle.lock();
    std::optional<Clip> wanted;
    if (bundle) {
        const std::vector<Clip>& clips = bundle->project().timeline.clips;
        if (m_clipId.isEmpty()) {
            if (!clips.empty())
                wanted = clips.front();
        } else {
            const QUuid id(m_clipId);
            const auto found =
                std::find_if(clips.begin(), clips.end(), [&](const Clip& c) { return c.id == id; });
            if (found != clips.end())
                wanted = *found;
        }
    }
    const std::optional<Clip>& loaded = m_player.clip();
    if (wanted && loaded && loaded->id == wanted->id && loaded->sourceVideoPath == wanted->sourceVideoPath &&
        loaded->sourceCameraPath == wanted->sourceCameraPath &&
        loaded->sourceAudioPath == wanted->sourceAudioPath) {
        m_player.updateClip(*wanted);
        return;
    }
    if (!wanted && !loaded)
        return;
    m_player.loadClip(std::move(wanted), bundle ? bundle->path() : QString());
}

void PreviewItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    const qreal ratio = window() ? window()->effectiveDevicePixelRatio() : 1.0;
    m_player.setViewSize((newGeometry.size() * ratio).toSize());
    update();
}

void PreviewItem::frameComposed(const QImage& image, double sourceTime) {
    if (m_imageChanged && !m_pendingImage.isNull())
        ++m_replacedFrames;
    m_pendingImage = image;
    m_pendingTime = sourceTime;
    m_imageChanged = true;
    update();
}

QSGNode* PreviewItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    // The GUI thread waits while this runs, so the item's members may be read and written here.
    auto* background = static_cast<QSGRectangleNode*>(old);
    if (!background) {
        background = window()->createRectangleNode();
        background->setColor(Qt::black);
    }
    background->setRect(boundingRect());
    auto* picture = static_cast<QSGImageNode*>(background->firstChild());
    if (m_imageChanged) {
        m_imageChanged = false;
        if (m_pendingImage.isNull()) {
            delete picture;
            picture = nullptr;
            m_presentedImage = {};
            m_presentedTime.reset();
        } else {
            const bool added = !picture;
            if (added) {
                picture = window()->createImageNode();
                picture->setOwnsTexture(true);
                picture->setFiltering(QSGTexture::Linear);
            }
            picture->setTexture(window()->createTextureFromImage(m_pendingImage));
            // The software renderer draws a node as soon as it is added, so it must have its texture first.
            if (added)
                background->appendChildNode(picture);
            m_presentedImage = m_pendingImage;
            m_presentedTime = m_pendingTime;
            ++m_presentedFrames;
            QMetaObject::invokeMethod(this, &PreviewItem::presentedFramesChanged, Qt::QueuedConnection);
        }
        m_pendingImage = {};
    }
    if (picture) {
        const QSizeF canvas = m_presentedImage.size();
        const qreal scale = std::min(width() / canvas.width(), height() / canvas.height());
        const QSizeF fitted = canvas * scale;
        picture->setRect(
            QRectF(QPointF((width() - fitted.width()) / 2, (height() - fitted.height()) / 2), fitted));
    }
    return background;
}

} // namespace orvane
