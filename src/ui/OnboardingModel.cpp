#include "OnboardingModel.h"

#include "AppViewModel.h"
#include "capture/PermissionsManager.h"

#include <QCoro/QCoroTask>

namespace orvane {

OnboardingModel::OnboardingModel(QObject* parent)
    : OnboardingModel(AppViewModel::current(), parent) {}

OnboardingModel::OnboardingModel(AppViewModel* app, QObject* parent)
    : QObject(parent)
    , m_app(app) {
    if (m_app)
        connect(m_app, &AppViewModel::permissionsChanged, this, &OnboardingModel::statusChanged);
}

void OnboardingModel::setPage(int page) {
    page = std::clamp(page, 0, pages - 1);
    if (page == m_page)
        return;
    m_page = page;
    Q_EMIT pageChanged();
}

const PermissionsState& OnboardingModel::permissions() const {
    static const PermissionsState none;
    return m_app ? m_app->appState().permissions() : none;
}

QString OnboardingModel::statusText(PermissionsState::Status status, bool requesting) {
    // Not read yet reads as being read.
    if (requesting || status == PermissionsState::Status::unknown)
        return QStringLiteral("checking");
    return AppViewModel::statusName(status);
}

QString OnboardingModel::screenStatus() const {
    return statusText(permissions().screenRecording, false);
}

QString OnboardingModel::microphoneStatus() const {
    return statusText(permissions().microphone, m_requestingMicrophone);
}

QString OnboardingModel::cameraStatus() const {
    return statusText(permissions().camera, m_requestingCamera);
}

void OnboardingModel::finish() {
    if (m_app)
        m_app->completeOnboarding();
}

void OnboardingModel::recordSample() {
    if (!m_app)
        return;
    // The flag goes first: the recording's screens replace the onboarding, which must not come back.
    m_app->completeOnboarding();
    m_app->recordOnboardingSample();
}

void OnboardingModel::requestMicrophone() {
    request(Device::microphone);
}

void OnboardingModel::requestCamera() {
    request(Device::camera);
}

void OnboardingModel::request(Device device) {
    bool& requesting = device == Device::microphone ? m_requestingMicrophone : m_requestingCamera;
    if (requesting)
        return;
    requesting = true;
    Q_EMIT statusChanged();
    // A sound server that doesn't answer takes seconds; the page may be gone by then. The row keeps
    // saying "checking" until the application has read the permissions again, so it never flashes
    // back to the answer it had before.
    [](QPointer<OnboardingModel> self, Device device) -> QCoro::Task<void> {
        PermissionsManager& manager = PermissionsManager::shared();
        if (device == Device::microphone)
            co_await manager.requestMicrophone();
        else
            co_await manager.requestCamera();
        if (!self)
            co_return;
        if (self->m_app)
            co_await self->m_app->appState().refreshPermissions();
        if (!self)
            co_return;
        (device == Device::microphone ? self->m_requestingMicrophone : self->m_requestingCamera) = false;
        Q_EMIT self->statusChanged();
    }(QPointer<OnboardingModel>(this), device);
}

} // namespace orvane
