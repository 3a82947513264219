#pragma once

#include "app/InspectorEditing.h"

#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <QVariantList>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

namespace orvane {

class AppState;
class ProjectBundle;

// The inspector beside the preview: the selected clip's styles as fourteen tabs of controls. The controls'
// list (`controls`) changes only when what the tab shows changes, so the views of a slider survive its own
// drag; their values (`values`, by control id) follow every change of the project.
class InspectorModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString clipId READ clipId WRITE setClipId NOTIFY clipChanged)
    Q_PROPERTY(bool hasClip READ hasClip NOTIFY clipChanged)
    Q_PROPERTY(double playheadTime READ playheadTime WRITE setPlayheadTime NOTIFY playheadTimeChanged)
    Q_PROPERTY(int selectedTab READ selectedTab WRITE setSelectedTab NOTIFY selectedTabChanged)
    Q_PROPERTY(QVariantList tabs READ tabs CONSTANT)
    Q_PROPERTY(QVariantList controls READ controls NOTIFY controlsChanged)
    Q_PROPERTY(QVariantMap values READ values NOTIFY valuesChanged)
    Q_PROPERTY(QVariantList stickerCards READ stickerCards NOTIFY controlsChanged)
    Q_PROPERTY(QVariantMap form READ form NOTIFY valuesChanged)
    Q_PROPERTY(QString solidColorHex READ solidColorHex WRITE setSolidColorHex NOTIFY valuesChanged)
    Q_PROPERTY(QString expandedProperty READ expandedProperty WRITE setExpandedProperty NOTIFY valuesChanged)
    Q_PROPERTY(QString lutError READ lutError NOTIFY valuesChanged)

public:
    explicit InspectorModel(QObject* parent = nullptr);
    InspectorModel(AppState& app, QObject* parent = nullptr);
    ~InspectorModel() override;

    QString clipId() const { return m_clipId; }
    void setClipId(const QString& id);
    bool hasClip() const { return m_clip.has_value(); }
    double playheadTime() const { return m_playheadTime; }
    void setPlayheadTime(double seconds);
    int selectedTab() const { return m_selectedTab; }
    void setSelectedTab(int tab);
    QVariantList tabs() const;
    QVariantList controls() const { return m_controls; }
    QVariantMap values() const { return m_values; }
    // A card per image overlay with its sliders; like `controls`, it changes only when the cards do.
    QVariantList stickerCards() const { return m_stickerCards; }
    QVariantMap form() const { return m_form; }
    QString solidColorHex() const { return m_solidColorHex; }
    void setSolidColorHex(const QString& hex);
    QString expandedProperty() const { return m_expandedProperty; }
    void setExpandedProperty(const QString& property);
    QString lutError() const { return m_lutError; }

    // ---- the generic rows: ids as `controls` gives them ------------------------------------------------
    Q_INVOKABLE void beginSlider(const QString& id);
    Q_INVOKABLE void changeSlider(const QString& id, double value);
    Q_INVOKABLE void endSlider(const QString& id);
    Q_INVOKABLE void setToggle(const QString& id, bool on);
    Q_INVOKABLE void setChoice(const QString& id, int index);

    // ---- the forms' own controls -----------------------------------------------------------------------
    Q_INVOKABLE void selectGradient(int index);
    Q_INVOKABLE void setCameraPosition(int cell);
    Q_INVOKABLE void addText(int preset, const QString& text);
    Q_INVOKABLE void setText(const QString& overlayId, const QString& text);
    Q_INVOKABLE void deleteText(const QString& overlayId);
    Q_INVOKABLE void chooseLUT(const QString& tag);
    // False, with `lutError` set and the grade as it was, when the file can't be read as a table.
    Q_INVOKABLE bool loadCustomLUT(const QString& pathOrUrl);
    Q_INVOKABLE void resetGrade();
    Q_INVOKABLE void chooseTransition(int kind);
    Q_INVOKABLE void setTransitionEasing(int choice);
    Q_INVOKABLE void previewTransition();
    Q_INVOKABLE void resetPerspective();
    Q_INVOKABLE void setRamping(bool on);
    Q_INVOKABLE void applySpeedPreset(int preset);
    Q_INVOKABLE void addKeyframe(const QString& property);
    Q_INVOKABLE void deleteKeyframe(const QString& property, int index);
    Q_INVOKABLE void removeAllKeyframes(const QString& property);
    Q_INVOKABLE void addSticker(const QString& pathOrUrl);
    Q_INVOKABLE void deleteSticker(const QString& overlayId);

    // The built-in looks: the names of the ".cube" files in the application's LUTs folder.
    static QStringList bundledLUTNames();

Q_SIGNALS:
    void clipChanged();
    void playheadTimeChanged();
    void selectedTabChanged();
    void controlsChanged();
    void valuesChanged();
    // The transition's preview: move the playhead to the clip's start.
    void scrubTo(double seconds);

private:
    void attachBundle();
    void refresh();
    void rebuildControls();
    void rebuildValues();
    void update(const std::function<void(Clip&)>& transform);
    const InspectorSlider* slider(const QString& id, int* overlay) const;

    AppState& m_app;
    InspectorEditing m_editing;
    QPointer<ProjectBundle> m_bundle;
    QMetaObject::Connection m_bundleConnection;
    QString m_clipId;
    std::optional<Clip> m_clip;
    double m_playheadTime = 0;
    int m_selectedTab = 0;
    QVariantList m_controls;
    QVariantMap m_values;
    QVariantList m_stickerCards;
    QVariantMap m_form;
    QString m_solidColorHex = QStringLiteral("#1E1E28");
    QString m_expandedProperty;
    QString m_lutError;
    QString m_editingSlider;
};

} // namespace orvane
