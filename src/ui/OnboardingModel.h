#pragma once

#include "app/AppState.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

namespace orvane {

class AppViewModel;

// The first-run carousel: which page shows, where Back and Next lead, what the recorder may use as the
// system sees it now, and the three ways out (finish, skip, record a sample), which all end the
// onboarding for good.
class OnboardingModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(int page READ page WRITE setPage NOTIFY pageChanged)
    Q_PROPERTY(int pageCount READ pageCount CONSTANT)
    Q_PROPERTY(bool onFirstPage READ onFirstPage NOTIFY pageChanged)
    Q_PROPERTY(bool onLastPage READ onLastPage NOTIFY pageChanged)
    Q_PROPERTY(QString screenStatus READ screenStatus NOTIFY statusChanged)
    Q_PROPERTY(QString microphoneStatus READ microphoneStatus NOTIFY statusChanged)
    Q_PROPERTY(QString cameraStatus READ cameraStatus NOTIFY statusChanged)
public:
    static constexpr int pages = 4;

    explicit OnboardingModel(QObject* parent = nullptr);
    OnboardingModel(AppViewModel* app, QObject* parent = nullptr);

    int page() const { return m_page; }
    void setPage(int page);
    int pageCount() const { return pages; }
    bool onFirstPage() const { return m_page == 0; }
    bool onLastPage() const { return m_page == pages - 1; }

    // "checking" until the system has answered (and while a request runs), then "granted", "denied" or
    // "notDetermined".
    QString screenStatus() const;
    QString microphoneStatus() const;
    QString cameraStatus() const;

    // Between pages; at either end they stay put.
    Q_INVOKABLE void next() { setPage(m_page + 1); }
    Q_INVOKABLE void back() { setPage(m_page - 1); }
    // Finishing and skipping both lead to the welcome screen and never show the onboarding again.
    Q_INVOKABLE void finish();
    // Ends the onboarding and records the first display for a few seconds (or opens the sample project
    // where nothing can be recorded).
    Q_INVOKABLE void recordSample();
    // Ask whether the microphone or a camera can be used, then read every permission again so the
    // whole application sees the answer.
    Q_INVOKABLE void requestMicrophone();
    Q_INVOKABLE void requestCamera();

    static QString statusText(PermissionsState::Status status, bool requesting);

Q_SIGNALS:
    void pageChanged();
    void statusChanged();

private:
    enum class Device { microphone, camera };
    void request(Device device);
    const PermissionsState& permissions() const;

    QPointer<AppViewModel> m_app;
    int m_page = 0;
    bool m_requestingMicrophone = false;
    bool m_requestingCamera = false;
};

} // namespace orvane
