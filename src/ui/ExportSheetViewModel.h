#pragma once

#include "export/ExportSheetModel.h"

#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>
#include <optional>

namespace orvane {

class AppState;
class ExportQueue;
class PortalSavePanel;

// The export sheet over the project that was open when it appeared. The sheet makes a new one each time
// it opens, so nothing chosen survives its dismissal. Choices are indices in the order the lists below
// give them; every rule (what a preset sets, the labels, the estimate) is ExportSheetModel's.
class ExportSheetViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(bool hasProject READ hasProject CONSTANT FINAL)
    Q_PROPERTY(bool canExport READ canExport NOTIFY projectChanged FINAL)
    Q_PROPERTY(QStringList presetTitles READ presetTitles CONSTANT FINAL)
    Q_PROPERTY(QStringList presetKeys READ presetKeys CONSTANT FINAL)
    Q_PROPERTY(QStringList presetDetails READ presetDetails CONSTANT FINAL)
    Q_PROPERTY(QStringList formatTitles READ formatTitles CONSTANT FINAL)
    Q_PROPERTY(QStringList codecTitles READ codecTitles CONSTANT FINAL)
    Q_PROPERTY(QStringList strategyTitles READ strategyTitles CONSTANT FINAL)
    Q_PROPERTY(int preset READ preset WRITE setPreset NOTIFY choicesChanged FINAL)
    Q_PROPERTY(int format READ format WRITE setFormat NOTIFY choicesChanged FINAL)
    Q_PROPERTY(int codec READ codec WRITE setCodec NOTIFY choicesChanged FINAL)
    Q_PROPERTY(bool includeAudio READ includeAudio WRITE setIncludeAudio NOTIFY choicesChanged FINAL)
    Q_PROPERTY(bool autoRecompose READ autoRecompose WRITE setAutoRecompose NOTIFY choicesChanged FINAL)
    Q_PROPERTY(
        int recomposeStrategy READ recomposeStrategy WRITE setRecomposeStrategy NOTIFY choicesChanged FINAL)
    Q_PROPERTY(bool isSocialPreset READ isSocialPreset NOTIFY choicesChanged FINAL)
    Q_PROPERTY(QString resolutionLabel READ resolutionLabel NOTIFY choicesChanged FINAL)
    Q_PROPERTY(int frameRate READ frameRate NOTIFY choicesChanged FINAL)
    Q_PROPERTY(QString durationLabel READ durationLabel NOTIFY projectChanged FINAL)
    Q_PROPERTY(QString estimatedSizeLabel READ estimatedSizeLabel NOTIFY summaryChanged FINAL)
    Q_PROPERTY(QString suggestedFileName READ suggestedFileName NOTIFY choicesChanged FINAL)
    Q_PROPERTY(QUrl saveFolder READ saveFolder CONSTANT FINAL)
    Q_PROPERTY(QUrl suggestedFile READ suggestedFile NOTIFY choicesChanged FINAL)
    Q_PROPERTY(QString fileTypeFilter READ fileTypeFilter NOTIFY choicesChanged FINAL)
    Q_PROPERTY(QString fileExtension READ fileExtension NOTIFY choicesChanged FINAL)

public:
    // Stands in for the save panel: given the sheet, the path chosen, or none for Cancel. Tests set one;
    // without one the view shows the desktop's panel.
    using SavePathProvider = std::function<std::optional<QString>(const ExportSheetViewModel&)>;
    static void setSavePathProvider(SavePathProvider provider);

    // Made by the view: finds the application through AppViewModel::current().
    explicit ExportSheetViewModel(QObject* parent = nullptr);
    ExportSheetViewModel(AppState& app, QObject* parent = nullptr);
    ~ExportSheetViewModel() override;

    const ExportSheetModel& sheet() const { return m_sheet; }

    bool hasProject() const { return m_bundle != nullptr; }
    bool canExport() const;
    static QStringList presetTitles();
    static QStringList presetKeys();
    // Each preset's size and rate, "1920×1080 · 60 fps".
    static QStringList presetDetails();
    static QStringList formatTitles();
    static QStringList codecTitles();
    static QStringList strategyTitles();

    int preset() const { return int(m_sheet.preset()); }
    void setPreset(int index);
    int format() const { return int(m_sheet.format()); }
    void setFormat(int index);
    int codec() const { return int(m_sheet.codec()); }
    void setCodec(int index);
    bool includeAudio() const { return m_sheet.includeAudio(); }
    void setIncludeAudio(bool on);
    bool autoRecompose() const { return m_sheet.autoRecompose(); }
    void setAutoRecompose(bool on);
    int recomposeStrategy() const { return int(m_sheet.recomposeStrategy()); }
    void setRecomposeStrategy(int index);

    bool isSocialPreset() const { return m_sheet.isSocialPreset(); }
    QString resolutionLabel() const { return m_sheet.resolutionLabel(); }
    int frameRate() const;
    QString durationLabel() const { return m_sheet.durationLabel(); }
    QString estimatedSizeLabel() const { return m_sheet.estimatedSizeLabel(); }
    QString suggestedFileName() const { return m_sheet.suggestedFileName(); }
    // Where the save panel starts: the Movies folder (the home folder without one), and the file there.
    QUrl saveFolder() const;
    QUrl suggestedFile() const;
    QString fileTypeFilter() const;
    QString fileExtension() const;

    // The Export button: asks for the file (the provider, else the desktop's panel through the portal,
    // else the view's own through savePanelRequested), then submits what comes back.
    Q_INVOKABLE void requestExport();
    // The panel's answer: queues the export, after recomposing the clips for a social preset when asked,
    // and asks the sheet to go. Does nothing without a project or a path.
    Q_INVOKABLE void submit(const QUrl& file);

Q_SIGNALS:
    void choicesChanged();
    void projectChanged();
    void summaryChanged();
    void savePanelRequested();
    void dismissRequested();

private:
    void changeChoices(const std::function<void(ExportSheetModel&)>& change);

    QString fileTypeLabel() const;

    AppState* m_app = nullptr;
    // None when made without the application's view model: the view's own panel answers then.
    QPointer<PortalSavePanel> m_savePanel;
    std::shared_ptr<ProjectBundle> m_bundle;
    ExportSheetModel m_sheet;
    QMetaObject::Connection m_projectConnection;
};

} // namespace orvane
