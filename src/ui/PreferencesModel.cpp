#include "PreferencesModel.h"

#include "AppViewModel.h"
#include "support/UserDefaults.h"

#include <QDesktopServices>
#include <QDir>
#include <QUrl>

namespace orvane {

namespace {
constexpr const char* frameRateKey = "orvane.screen.frameRate";
constexpr int defaultFrameRate = 60;
} // namespace

PreferencesModel::PreferencesModel(QObject* parent)
    : PreferencesModel(AppViewModel::current() ? AppViewModel::current()->defaults()
                                               : UserDefaults::standard(),
                       AppViewModel::current(), parent) {}

PreferencesModel::PreferencesModel(UserDefaults& defaults, AppViewModel* app, QObject* parent)
    : QObject(parent)
    , m_defaults(&defaults)
    , m_app(app) {
    if (m_app)
        connect(m_app, &AppViewModel::recordingsRootDirectoryChanged, this,
                &PreferencesModel::recordingsFolderChanged);
}

bool PreferencesModel::flag(const char* key, bool fallback) const {
    return m_defaults->boolean(QString::fromLatin1(key), fallback);
}

void PreferencesModel::setFlag(const char* key, bool on) {
    const QVariant stored = m_defaults->value(QString::fromLatin1(key));
    if (stored.isValid() && stored.toBool() == on)
        return;
    m_defaults->setValue(QString::fromLatin1(key), on);
    Q_EMIT changed();
}

int PreferencesModel::frameRate() const {
    const int fps = m_defaults->value(QString::fromLatin1(frameRateKey), defaultFrameRate).toInt();
    return fps == 30 || fps == 60 || fps == 120 ? fps : defaultFrameRate;
}

void PreferencesModel::setFrameRate(int fps) {
    if (fps != 30 && fps != 60 && fps != 120)
        return;
    if (m_defaults->value(QString::fromLatin1(frameRateKey)).toInt() == fps)
        return;
    m_defaults->setValue(QString::fromLatin1(frameRateKey), fps);
    Q_EMIT changed();
}

QString PreferencesModel::recordingsFolder() const {
    return m_app ? m_app->recordingsRootDirectory() : QString();
}

bool PreferencesModel::applyRecordingsFolder(const QString& pathOrUrl) {
    const QUrl url(pathOrUrl);
    const QString folder = QDir::cleanPath(url.isLocalFile() ? url.toLocalFile() : pathOrUrl);
    if (folder.isEmpty() || !m_app || !QDir().mkpath(folder))
        return false;
    m_app->setRecordingsRootDirectory(folder);
    return true;
}

void PreferencesModel::revealRecordingsFolder() {
    const QString folder = recordingsFolder();
    QDir().mkpath(folder);
    QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
}

} // namespace orvane
