#include "InspectorModel.h"

#include "AppViewModel.h"
#include "app/AppState.h"
#include "app/InspectorEdits.h"
#include "project/Json.h"
#include "project/ProjectBundle.h"
#include "rendering/Wallpapers.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <cmath>

namespace orvane {

using namespace InspectorEdits;

namespace {

QString localPath(const QString& pathOrUrl) {
    const QUrl url(pathOrUrl);
    return url.isLocalFile() ? url.toLocalFile() : pathOrUrl;
}

QString hexOf(const RGBAColor& c) {
    const auto channel = [](double v) {
        return int(std::lround(std::clamp(v, 0.0, 1.0) * 255));
    };
    return QStringLiteral("#%1%2%3")
        .arg(channel(c.r), 2, 16, QLatin1Char('0'))
        .arg(channel(c.g), 2, 16, QLatin1Char('0'))
        .arg(channel(c.b), 2, 16, QLatin1Char('0'))
        .toUpper();
}

QVariantMap sliderRow(const QString& id, const InspectorSlider& s) {
    return {{QStringLiteral("kind"), QStringLiteral("slider")},
            {QStringLiteral("id"), id},
            {QStringLiteral("key"), s.labelKey},
            {QStringLiteral("label"), s.label},
            {QStringLiteral("minimum"), s.minimum},
            {QStringLiteral("maximum"), s.maximum},
            {QStringLiteral("undoName"), s.undoName.value_or(QString())}};
}

// Where the generic rows of a tab go: pickers shown as a segmented control or chips come first, then the
// switches, the sliders, and the menus.
int choiceOrder(const InspectorChoice& c) {
    return c.keyPath == u"background" || c.keyPath == u"transitionIn.kind" ? 0 : 3;
}

// A curve's shape for the small preview: `samples` values of the track over its span, scaled to 0...1.
QVariantList curveSamples(const KeyframeTrack<double>& track, int samples = 24) {
    QVariantList out;
    if (track.isEmpty())
        return out;
    const double t0 = track.keyframes.front().time.seconds;
    const double t1 = track.keyframes.back().time.seconds;
    std::vector<double> values;
    for (int i = 0; i < samples; ++i)
        values.push_back(track.value(ProjectTime(t0 + (t1 - t0) * i / (samples - 1)), 0));
    const auto [lo, hi] = std::minmax_element(values.begin(), values.end());
    const double range = *hi - *lo;
    for (double v : values)
        out << (range > 1e-12 ? (v - *lo) / range : 0.5);
    return out;
}

} // namespace

InspectorModel::InspectorModel(QObject* parent)
    : InspectorModel(AppViewModel::current()->appState(), parent) {}

InspectorModel::InspectorModel(AppState& app, QObject* parent)
    : QObject(parent)
    , m_app(app)
    , m_editing(app) {
    connect(&m_app, &AppState::currentBundleChanged, this, &InspectorModel::attachBundle);
    attachBundle();
}

InspectorModel::~InspectorModel() = default;

void InspectorModel::attachBundle() {
    disconnect(m_bundleConnection);
    m_bundle = m_app.currentBundle().get();
    if (m_bundle)
        m_bundleConnection =
            connect(m_bundle, &ProjectBundle::projectChanged, this, &InspectorModel::refresh);
    refresh();
}

void InspectorModel::setClipId(const QString& id) {
    if (id == m_clipId)
        return;
    m_clipId = id;
    m_editing.setSelectedClipID(parseUuid(id));
    m_lutError.clear();
    refresh();
}

void InspectorModel::setPlayheadTime(double seconds) {
    if (seconds == m_playheadTime)
        return;
    m_playheadTime = seconds;
    Q_EMIT playheadTimeChanged();
}

void InspectorModel::setSelectedTab(int tab) {
    tab = std::clamp(tab, 0, int(inspectorTabs().size()) - 1);
    if (tab == m_selectedTab)
        return;
    m_selectedTab = tab;
    Q_EMIT selectedTabChanged();
    rebuildControls();
    rebuildValues();
}

QVariantList InspectorModel::tabs() const {
    QVariantList out;
    for (const InspectorTabInfo& tab : inspectorTabs())
        out << QVariantMap{{QStringLiteral("key"), QString::fromLatin1(tab.labelKey)},
                           {QStringLiteral("label"), QString::fromLatin1(tab.rawValue)},
                           {QStringLiteral("symbol"), QString::fromLatin1(tab.symbol)}};
    return out;
}

void InspectorModel::setSolidColorHex(const QString& hex) {
    if (hex == m_solidColorHex)
        return;
    m_solidColorHex = hex;
    // The colour well writes the clip's solid background as it changes.
    if (m_clip && backgroundKind(m_clip->background) == BackgroundKind::solid)
        update([&](Clip& c) { switchBackgroundKind(c, BackgroundKind::solid, hex); });
    else
        Q_EMIT valuesChanged();
}

void InspectorModel::setExpandedProperty(const QString& property) {
    m_expandedProperty = m_expandedProperty == property ? QString() : property;
    rebuildValues();
}

void InspectorModel::refresh() {
    const bool had = m_clip.has_value();
    m_clip = m_editing.currentClip();
    if (m_clip)
        if (const auto* solid = std::get_if<BackgroundStyle::Solid>(&m_clip->background.value))
            m_solidColorHex = hexOf(solid->color);
    if (had != m_clip.has_value())
        Q_EMIT clipChanged();
    rebuildControls();
    rebuildValues();
}

void InspectorModel::rebuildControls() {
    QVariantList rows;
    if (m_clip) {
        const auto tab = InspectorTab(m_selectedTab);
        const auto& choices = inspectorChoices();
        const auto addChoices = [&](int order) {
            for (std::size_t i = 0; i < choices.size(); ++i) {
                const InspectorChoice& c = choices[i];
                if (c.tab != tab || choiceOrder(c) != order)
                    continue;
                if (c.keyPath == u"transitionIn.easing" && !m_clip->transitionIn)
                    continue;
                QVariantList labels;
                for (qsizetype k = 0; k < c.labels.size(); ++k)
                    labels << QVariantMap{
                        {QStringLiteral("label"), c.labels[k]},
                        {QStringLiteral("key"), k < c.labelKeys.size() ? c.labelKeys[k] : c.labels[k]}};
                rows << QVariantMap{{QStringLiteral("kind"),
                                     order == 0 ? QStringLiteral("segmented") : QStringLiteral("menu")},
                                    {QStringLiteral("id"), QStringLiteral("choice:%1").arg(i)},
                                    {QStringLiteral("key"), c.labelKey},
                                    {QStringLiteral("label"), c.label},
                                    {QStringLiteral("options"), labels}};
            }
        };
        if (tab != InspectorTab::transition) // the transition's kinds are chips in its own form
            addChoices(0);
        const auto& toggles = inspectorToggles();
        for (std::size_t i = 0; i < toggles.size(); ++i)
            if (toggles[i].tab == tab)
                rows << QVariantMap{{QStringLiteral("kind"), QStringLiteral("toggle")},
                                    {QStringLiteral("id"), QStringLiteral("toggle:%1").arg(i)},
                                    {QStringLiteral("key"), toggles[i].labelKey},
                                    {QStringLiteral("label"), toggles[i].label}};
        const auto& sliders = inspectorSliders();
        for (std::size_t i = 0; i < sliders.size(); ++i) {
            const InspectorSlider& s = sliders[i];
            if (s.tab != tab || s.isPerOverlay())
                continue;
            // The blur radius belongs to the blur background, the tilt to a tilted frame, the duration to
            // a transition that is set.
            if (!s.read(*m_clip, -1) && s.keyPath != u"background.blurredExtension.blurRadius")
                continue;
            if (s.keyPath == u"background.blurredExtension.blurRadius" &&
                backgroundKind(m_clip->background) != BackgroundKind::blur)
                continue;
            if (tab == InspectorTab::perspective && !m_clip->frame.perspective.isEnabled)
                continue;
            rows << sliderRow(QStringLiteral("slider:%1").arg(i), s);
        }
        addChoices(3);
    }
    QVariantList stickers;
    if (m_clip && InspectorTab(m_selectedTab) == InspectorTab::stickers) {
        const auto& sliders = inspectorSliders();
        // A card per image with its own sliders.
        for (std::size_t o = 0; o < m_clip->imageOverlays.size(); ++o) {
            QVariantList rows;
            for (std::size_t i = 0; i < sliders.size(); ++i)
                if (sliders[i].isPerOverlay())
                    rows << sliderRow(QStringLiteral("slider:%1:%2").arg(i).arg(o), sliders[i]);
            stickers << QVariantMap{
                {QStringLiteral("id"), uuidString(m_clip->imageOverlays[o].id)},
                {QStringLiteral("name"),
                 QFileInfo(QString::fromUtf8(m_clip->imageOverlays[o].imageBookmark)).fileName()},
                {QStringLiteral("path"), QString::fromUtf8(m_clip->imageOverlays[o].imageBookmark)},
                {QStringLiteral("controls"), rows}};
        }
    }
    if (rows != m_controls || stickers != m_stickerCards) {
        m_controls = rows;
        m_stickerCards = stickers;
        Q_EMIT controlsChanged();
    }
}

void InspectorModel::rebuildValues() {
    QVariantMap values;
    QVariantMap form;
    if (m_clip) {
        const Clip& clip = *m_clip;
        const auto& sliders = inspectorSliders();
        const auto putSlider = [&](std::size_t i, int overlay) {
            const auto v = sliders[i].read(clip, overlay);
            const double value = sliders[i].clamped(v.value_or(sliders[i].minimum));
            const QString id = overlay < 0 ? QStringLiteral("slider:%1").arg(i)
                                           : QStringLiteral("slider:%1:%2").arg(i).arg(overlay);
            values[id] = QVariantMap{{QStringLiteral("value"), value},
                                     {QStringLiteral("display"), sliders[i].display(value)}};
        };
        for (std::size_t i = 0; i < sliders.size(); ++i)
            if (!sliders[i].isPerOverlay())
                putSlider(i, -1);
            else
                for (std::size_t o = 0; o < clip.imageOverlays.size(); ++o)
                    putSlider(i, int(o));
        const auto& toggles = inspectorToggles();
        for (std::size_t i = 0; i < toggles.size(); ++i)
            values[QStringLiteral("toggle:%1").arg(i)] = toggles[i].read(clip);
        const auto& choices = inspectorChoices();
        for (std::size_t i = 0; i < choices.size(); ++i)
            values[QStringLiteral("choice:%1").arg(i)] = choices[i].read(clip);

        // Background: the presets as swatches.
        QVariantList gradients;
        const auto selected = selectedGradient(clip);
        const auto& presets = BackgroundStyle::presetGradients();
        for (std::size_t i = 0; i < presets.size(); ++i) {
            QVariantList stops;
            for (const GradientStop& stop : presets[i].fill.stops)
                stops << QVariantMap{{QStringLiteral("location"), stop.location},
                                     {QStringLiteral("color"), hexOf(stop.color)}};
            gradients << QVariantMap{{QStringLiteral("name"), presets[i].name},
                                     {QStringLiteral("stops"), stops},
                                     {QStringLiteral("angle"), presets[i].fill.angleDegrees},
                                     {QStringLiteral("selected"), selected == i}};
        }
        form[QStringLiteral("backgroundKind")] = int(backgroundKind(clip.background));
        form[QStringLiteral("gradients")] = gradients;

        // Camera: the nine places.
        QVariantList grid;
        const auto cell = cameraGridIndex(clip);
        for (std::size_t i = 0; i < cameraGrid().size(); ++i)
            grid << QVariantMap{{QStringLiteral("key"), QString::fromLatin1(cameraGrid()[i].labelKey)},
                                {QStringLiteral("label"), QString::fromLatin1(cameraGrid()[i].label)},
                                {QStringLiteral("selected"), cell == i}};
        form[QStringLiteral("cameraGrid")] = grid;
        form[QStringLiteral("zoomKeyframeCount")] = qlonglong(clip.zoomTrack.count());

        QVariantList texts;
        for (const TextOverlay& overlay : clip.textOverlays)
            texts << QVariantMap{{QStringLiteral("id"), uuidString(overlay.id)},
                                 {QStringLiteral("text"), overlay.text}};
        form[QStringLiteral("textOverlays")] = texts;

        QVariantList luts{QVariantMap{{QStringLiteral("tag"), QString::fromLatin1(noLUTTag)},
                                      {QStringLiteral("label"), QStringLiteral("None")}}};
        for (const QString& name : bundledLUTNames())
            luts << QVariantMap{{QStringLiteral("tag"), name}, {QStringLiteral("label"), name}};
        form[QStringLiteral("luts")] = luts;
        form[QStringLiteral("lutTag")] = clip.colorGrade.lutName.value_or(QString::fromLatin1(noLUTTag));
        form[QStringLiteral("customLUTLoaded")] = clip.colorGrade.customLUTBookmark.has_value();

        // Transition: the kinds in their groups.
        QVariantList groups;
        const TransitionKind current = clip.transitionIn ? clip.transitionIn->kind : TransitionKind::none;
        int kindIndex = 0;
        std::map<TransitionCategory, QVariantList> byCategory;
        for (const auto& entry : enumEntries(TransitionKind{})) {
            byCategory[category(entry.value)]
                << QVariantMap{{QStringLiteral("index"), kindIndex++},
                               {QStringLiteral("label"), displayName(entry.value)},
                               {QStringLiteral("selected"), entry.value == current}};
        }
        for (const auto& [cat, kinds] : byCategory)
            groups << QVariantMap{{QStringLiteral("name"), displayName(cat)},
                                  {QStringLiteral("kinds"), kinds}};
        form[QStringLiteral("transitionGroups")] = groups;
        form[QStringLiteral("hasTransition")] = clip.transitionIn.has_value();
        form[QStringLiteral("transitionStartsAtZero")] = clip.timelineStart.seconds == 0;
        QVariantList easings;
        for (const auto& easing : transitionEasings())
            easings << QString::fromLatin1(easing.label);
        form[QStringLiteral("easings")] = easings;

        // Speed: the ramp as a curve.
        QVariantList points;
        const double span = std::max((clip.sourceOut - clip.sourceIn).seconds, 1e-6);
        for (const auto& k : clip.speedRamp.keyframes)
            points << QVariantMap{{QStringLiteral("x"), std::clamp(k.time.seconds / span, 0.0, 1.0)},
                                  {QStringLiteral("y"), speedCurveY(k.value)},
                                  {QStringLiteral("label"), QString::asprintf("%.1fs", k.time.seconds) +
                                                                u' ' + QString::asprintf("%.2gx", k.value)}};
        form[QStringLiteral("isRamping")] = !clip.speedRamp.isEmpty();
        form[QStringLiteral("rampPoints")] = points;
        QVariantList presetsList;
        for (const auto& p : speedPresets())
            presetsList << QString::fromLatin1(p.title);
        form[QStringLiteral("speedPresets")] = presetsList;

        // Keyframes: a row per property.
        QVariantList properties;
        for (const AnimatablePropertyInfo& info : animatableProperties()) {
            const auto it = clip.animations.tracks.find(info.id);
            const KeyframeTrack<double> track =
                it == clip.animations.tracks.end() ? KeyframeTrack<double>() : it->second;
            const QString name = QString::fromLatin1(info.name.data(), qsizetype(info.name.size()));
            QVariantList keyframes;
            if (name == m_expandedProperty)
                for (std::size_t k = 0; k < track.keyframes.size(); ++k)
                    keyframes << QVariantMap{
                        {QStringLiteral("index"), int(k)},
                        {QStringLiteral("time"), formatKeyframeTime(track.keyframes[k].time.seconds)},
                        {QStringLiteral("value"), formatPropertyValue(info.id, track.keyframes[k].value)}};
            properties << QVariantMap{
                {QStringLiteral("id"), name},
                {QStringLiteral("name"),
                 QString::fromLatin1(info.displayName.data(), qsizetype(info.displayName.size()))},
                {QStringLiteral("count"), QString::asprintf("%lld", qlonglong(track.count()))},
                {QStringLiteral("curve"), curveSamples(track)},
                {QStringLiteral("expanded"), name == m_expandedProperty},
                {QStringLiteral("keyframes"), keyframes}};
        }
        form[QStringLiteral("properties")] = properties;

        form[QStringLiteral("captionCount")] = qlonglong(clip.captions ? clip.captions->captions.size() : 0);
    }
    m_values = values;
    m_form = form;
    Q_EMIT valuesChanged();
}

void InspectorModel::update(const std::function<void(Clip&)>& transform) {
    m_editing.update(transform);
}

const InspectorSlider* InspectorModel::slider(const QString& id, int* overlay) const {
    const QStringList parts = id.split(u':');
    if (parts.size() < 2 || parts[0] != u"slider")
        return nullptr;
    const auto index = parts[1].toULongLong();
    if (index >= inspectorSliders().size())
        return nullptr;
    *overlay = parts.size() > 2 ? parts[2].toInt() : -1;
    return &inspectorSliders()[index];
}

void InspectorModel::beginSlider(const QString& id) {
    int overlay = -1;
    if (const InspectorSlider* s = slider(id, &overlay)) {
        m_editingSlider = id;
        m_editing.beginSliderEdit(*s);
    }
}

void InspectorModel::changeSlider(const QString& id, double value) {
    int overlay = -1;
    if (const InspectorSlider* s = slider(id, &overlay))
        m_editing.changeSlider(*s, value, overlay);
}

void InspectorModel::endSlider(const QString& id) {
    int overlay = -1;
    const InspectorSlider* s = slider(id, &overlay);
    if (s && id == m_editingSlider)
        m_editing.endSliderEdit(*s);
    m_editingSlider.clear();
}

void InspectorModel::setToggle(const QString& id, bool on) {
    const auto index = id.section(u':', 1).toULongLong();
    if (id.startsWith(u"toggle:") && index < inspectorToggles().size())
        update([&](Clip& c) { inspectorToggles()[index].write(c, on); });
}

void InspectorModel::setChoice(const QString& id, int choice) {
    const auto index = id.section(u':', 1).toULongLong();
    if (!id.startsWith(u"choice:") || index >= inspectorChoices().size())
        return;
    const InspectorChoice& c = inspectorChoices()[index];
    // The solid background takes the colour well's colour rather than black.
    if (c.keyPath == u"background" && choice >= 0 && choice < 5)
        update([&](Clip& clip) { switchBackgroundKind(clip, BackgroundKind(choice), m_solidColorHex); });
    else
        update([&](Clip& clip) { c.write(clip, choice); });
}

void InspectorModel::selectGradient(int index) {
    update([&](Clip& c) { InspectorEdits::selectGradient(c, std::size_t(std::max(index, 0))); });
}

void InspectorModel::setCameraPosition(int cell) {
    if (cell >= 0 && std::size_t(cell) < cameraGrid().size())
        update([&](Clip& c) { c.camera.position = cameraGrid()[std::size_t(cell)].position; });
}

void InspectorModel::addText(int preset, const QString& text) {
    update([&](Clip& c) { addTextOverlay(c, TextPreset(std::clamp(preset, 0, 3)), text); });
}

void InspectorModel::setText(const QString& overlayId, const QString& text) {
    if (const auto id = parseUuid(overlayId))
        update([&](Clip& c) { setTextOverlayText(c, *id, text); });
}

void InspectorModel::deleteText(const QString& overlayId) {
    if (const auto id = parseUuid(overlayId))
        update([&](Clip& c) { removeTextOverlay(c, *id); });
}

void InspectorModel::chooseLUT(const QString& tag) {
    update([&](Clip& c) { InspectorEdits::chooseLUT(c, tag); });
}

bool InspectorModel::loadCustomLUT(const QString& pathOrUrl) {
    const QString path = localPath(pathOrUrl);
    QFile file(path);
    QString error;
    if (!file.open(QIODevice::ReadOnly))
        error = file.errorString();
    else if (!file.read(1 << 20).contains("LUT_3D_SIZE"))
        error = QStringLiteral("the file has no LUT_3D_SIZE line");
    if (!error.isEmpty()) {
        m_lutError = QStringLiteral("Could not load LUT: ") + error;
        Q_EMIT valuesChanged();
        return false;
    }
    m_lutError.clear();
    // The bookmark of a picked file on this platform is its absolute path.
    update([&](Clip& c) { c.colorGrade.customLUTBookmark = QFileInfo(path).absoluteFilePath().toUtf8(); });
    return true;
}

void InspectorModel::resetGrade() {
    update([](Clip& c) { InspectorEdits::resetGrade(c); });
}

void InspectorModel::chooseTransition(int kind) {
    const auto entries = enumEntries(TransitionKind{});
    if (kind >= 0 && std::size_t(kind) < entries.size())
        update([&](Clip& c) { InspectorEdits::chooseTransition(c, entries[std::size_t(kind)].value); });
}

void InspectorModel::setTransitionEasing(int choice) {
    update([&](Clip& c) { InspectorEdits::setTransitionEasing(c, std::size_t(std::max(choice, 0))); });
}

void InspectorModel::previewTransition() {
    if (m_clip)
        Q_EMIT scrubTo(m_clip->timelineStart.seconds);
}

void InspectorModel::resetPerspective() {
    update([](Clip& c) { InspectorEdits::resetPerspective(c); });
}

void InspectorModel::setRamping(bool on) {
    update([&](Clip& c) { on ? enableSpeedRamp(c) : disableSpeedRamp(c); });
}

void InspectorModel::applySpeedPreset(int preset) {
    if (preset >= 0 && std::size_t(preset) < speedPresets().size())
        update([&](Clip& c) {
            InspectorEdits::applySpeedPreset(c, speedPresets()[std::size_t(preset)].preset);
        });
}

void InspectorModel::addKeyframe(const QString& property) {
    const auto id = enumFromName<AnimatablePropertyID>(property);
    if (!id || !m_clip)
        return;
    // The keyframe lands at the playhead, in the clip's own time.
    const double local = std::max(0.0, m_playheadTime - m_clip->timelineStart.seconds);
    update([&](Clip& c) { InspectorEdits::addKeyframe(c, *id, ProjectTime(local)); });
}

void InspectorModel::deleteKeyframe(const QString& property, int index) {
    if (const auto id = enumFromName<AnimatablePropertyID>(property); id && index >= 0)
        update([&](Clip& c) { InspectorEdits::deleteKeyframe(c, *id, std::size_t(index)); });
}

void InspectorModel::removeAllKeyframes(const QString& property) {
    if (const auto id = enumFromName<AnimatablePropertyID>(property))
        update([&](Clip& c) { InspectorEdits::removeAllKeyframes(c, *id); });
}

void InspectorModel::addSticker(const QString& pathOrUrl) {
    const QString path = localPath(pathOrUrl);
    if (QFileInfo(path).isFile())
        update([&](Clip& c) { addImageOverlay(c, path); });
}

void InspectorModel::deleteSticker(const QString& overlayId) {
    if (const auto id = parseUuid(overlayId))
        update([&](Clip& c) { removeImageOverlay(c, *id); });
}

QStringList InspectorModel::bundledLUTNames() {
    // The LUTs folder sits beside the wallpapers wherever the resources are installed.
    QStringList names;
    for (const QString& wallpapers : Wallpapers::directories()) {
        const QDir dir(QDir(wallpapers).filePath(QStringLiteral("../LUTs")));
        for (const QFileInfo& info : dir.entryInfoList(QDir::Files, QDir::Name))
            if (info.suffix().toLower() == u"cube" && !names.contains(info.completeBaseName()))
                names << info.completeBaseName();
    }
    names.sort();
    return names;
}

} // namespace orvane
