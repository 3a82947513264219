#pragma once

#include <QObject>
#include <QString>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

namespace orvane {

class UserDefaults;
class AppViewModel;

// The preferences window's values, each read from its settings key with its default and written back on
// change. Only the sound effects switch changes what the program does today; the others are kept for the
// features that will read them.
class PreferencesModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool launchAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY changed)
    Q_PROPERTY(bool showInMenuBar READ showInMenuBar WRITE setShowInMenuBar NOTIFY changed)
    Q_PROPERTY(bool soundEffectsEnabled READ soundEffectsEnabled WRITE setSoundEffectsEnabled NOTIFY changed)
    Q_PROPERTY(int frameRate READ frameRate WRITE setFrameRate NOTIFY changed)
    Q_PROPERTY(bool includeSystemAudio READ includeSystemAudio WRITE setIncludeSystemAudio NOTIFY changed)
    Q_PROPERTY(bool includeMicrophone READ includeMicrophone WRITE setIncludeMicrophone NOTIFY changed)
    Q_PROPERTY(bool autoZoomDefault READ autoZoomDefault WRITE setAutoZoomDefault NOTIFY changed)
    Q_PROPERTY(bool clickRipplesDefault READ clickRipplesDefault WRITE setClickRipplesDefault NOTIFY changed)
    Q_PROPERTY(bool halyardEnabled READ halyardEnabled WRITE setHalyardEnabled NOTIFY changed)
    Q_PROPERTY(bool marigoldCaptions READ marigoldCaptions WRITE setMarigoldCaptions NOTIFY changed)
    Q_PROPERTY(
        bool uploadToOrvaneOnline READ uploadToOrvaneOnline WRITE setUploadToOrvaneOnline NOTIFY changed)
    Q_PROPERTY(QString recordingsFolder READ recordingsFolder NOTIFY recordingsFolderChanged)
    // The same folder as a URL for the folder chooser, so that spaces and other characters survive.
    Q_PROPERTY(QUrl recordingsFolderUrl READ recordingsFolderUrl NOTIFY recordingsFolderChanged)
public:
    // The QML element finds the application's settings; tests may give their own.
    explicit PreferencesModel(QObject* parent = nullptr);
    PreferencesModel(UserDefaults& defaults, AppViewModel* app, QObject* parent = nullptr);

    bool launchAtLogin() const { return flag("orvane.screen.launchAtLogin", false); }
    void setLaunchAtLogin(bool on) { setFlag("orvane.screen.launchAtLogin", on); }
    bool showInMenuBar() const { return flag("orvane.screen.showInMenuBar", true); }
    void setShowInMenuBar(bool on) { setFlag("orvane.screen.showInMenuBar", on); }
    bool soundEffectsEnabled() const { return flag("orvane.screen.soundEffectsEnabled", true); }
    void setSoundEffectsEnabled(bool on) { setFlag("orvane.screen.soundEffectsEnabled", on); }
    int frameRate() const;
    void setFrameRate(int fps);
    bool includeSystemAudio() const { return flag("orvane.screen.includeSystemAudio", true); }
    void setIncludeSystemAudio(bool on) { setFlag("orvane.screen.includeSystemAudio", on); }
    bool includeMicrophone() const { return flag("orvane.screen.includeMicrophone", true); }
    void setIncludeMicrophone(bool on) { setFlag("orvane.screen.includeMicrophone", on); }
    bool autoZoomDefault() const { return flag("orvane.screen.autoZoomDefault", true); }
    void setAutoZoomDefault(bool on) { setFlag("orvane.screen.autoZoomDefault", on); }
    bool clickRipplesDefault() const { return flag("orvane.screen.clickRipplesDefault", true); }
    void setClickRipplesDefault(bool on) { setFlag("orvane.screen.clickRipplesDefault", on); }
    bool halyardEnabled() const { return flag("orvane.screen.halyardEnabled", false); }
    void setHalyardEnabled(bool on) { setFlag("orvane.screen.halyardEnabled", on); }
    bool marigoldCaptions() const { return flag("orvane.screen.marigoldCaptions", true); }
    void setMarigoldCaptions(bool on) { setFlag("orvane.screen.marigoldCaptions", on); }
    bool uploadToOrvaneOnline() const { return flag("orvane.screen.uploadToOrvaneOnline", false); }
    void setUploadToOrvaneOnline(bool on) { setFlag("orvane.screen.uploadToOrvaneOnline", on); }

    QString recordingsFolder() const;
    QUrl recordingsFolderUrl() const { return QUrl::fromLocalFile(recordingsFolder()); }
    // The folder chooser's answer: the folder is made with its parents; if that fails nothing changes.
    Q_INVOKABLE bool applyRecordingsFolder(const QString& pathOrUrl);
    Q_INVOKABLE void revealRecordingsFolder();

Q_SIGNALS:
    void changed();
    void recordingsFolderChanged();

private:
    bool flag(const char* key, bool fallback) const;
    void setFlag(const char* key, bool on);

    UserDefaults* m_defaults = nullptr;
    AppViewModel* m_app = nullptr;
};

} // namespace orvane
