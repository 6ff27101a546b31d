#include "app/service_starter.h"

#include "app/app_texts.h"
#include "core/core_texts.h"

#include <QCoreApplication>
#include <QDebug>
#include <QProgressDialog>
#include <QThread>

#include <vector>

namespace Corvel {

using CorvelPlatform::ServiceControl;
using CorvelPlatform::ServiceHandle;

const char* const ServiceStarter::ServiceNames[3] = {"msiscsi", "TolvexRecoveryService", "CorvelService"};

namespace {

// Closes every handle it was given when it goes out of scope.
class HandleCloser {
public:
    explicit HandleCloser(ServiceControl& control)
        : m_control(control)
    {
    }
    ~HandleCloser()
    {
        for (auto it = m_handles.rbegin(); it != m_handles.rend(); ++it)
            m_control.closeHandle(*it);
    }
    ServiceHandle keep(ServiceHandle handle)
    {
        m_handles.push_back(handle);
        return handle;
    }

private:
    ServiceControl& m_control;
    std::vector<ServiceHandle> m_handles;
};

} // namespace

ServiceStarter::ServiceStarter(std::shared_ptr<ServiceControl> control, Sleeper sleeper)
    : m_control(std::move(control))
    , m_sleep(std::move(sleeper))
{
    if (!m_sleep)
        m_sleep = [](int ms) { QThread::msleep(static_cast<unsigned long>(ms)); };
}

std::optional<unsigned long> ServiceStarter::queryStatus(ServiceHandle service)
{
    unsigned long state = 0;
    if (!m_control->queryState(service, state)) {
        qCritical().noquote() << AppTexts::QueryStatusFailed + QString::number(m_control->lastError());
        return std::nullopt;
    }
    return state;
}

bool ServiceStarter::startServices()
{
    HandleCloser closer(*m_control);
    const ServiceHandle manager = m_control->openManager();
    if (!manager) {
        qCritical().noquote() << CoreTexts::OpenManagerFailed + QString::number(m_control->lastError());
        return false;
    }
    closer.keep(manager);

    std::vector<ServiceHandle> services;
    bool allRunning = true;
    for (const char* name : ServiceNames) {
        const ServiceHandle service = m_control->openService(manager, name);
        if (!service) {
            qCritical().noquote() << QString(AppTexts::NoHandle) + name + AppTexts::NoHandleError +
                                         QString::number(m_control->lastError());
            return false;
        }
        services.push_back(closer.keep(service));
        const auto state = queryStatus(service);
        if (!state)
            return false;
        allRunning = allRunning && *state == ServiceControl::Running;
    }
    if (allRunning) {
        qInfo() << AppTexts::AllRunning;
        return true;
    }

    QProgressDialog dialog(QString(AppTexts::StartingServices), QString(AppTexts::CancelButton), 0,
                           static_cast<int>(services.size()));
    dialog.setMinimumDuration(0);
    dialog.setWindowTitle(QString(AppTexts::PleaseWait));
    dialog.setValue(0);
    if (onDialogShown)
        onDialogShown(dialog);
    for (ServiceHandle service : services) {
        if (!startAndWait(service, dialog))
            return false;
        dialog.setValue(dialog.value() + 1);
        QCoreApplication::processEvents();
    }
    return true;
}

bool ServiceStarter::startAndWait(ServiceHandle service, QProgressDialog& dialog)
{
    auto state = queryStatus(service);
    if (!state)
        return false;
    int waitedMs = 0;
    for (;;) {
        if (dialog.wasCanceled()) {
            qInfo() << AppTexts::CancelledByUser;
            return false;
        }
        if (waitedMs >= StartTimeoutMs) {
            qCritical() << AppTexts::WaitExpired;
            return false;
        }
        dialog.repaint();
        QCoreApplication::processEvents();
        if (*state == ServiceControl::StartPending) {
            m_sleep(PollIntervalMs);
            waitedMs += PollIntervalMs;
        } else if (*state == ServiceControl::Running) {
            return true;
        } else if (!m_control->startService(service)) {
            qCritical().noquote() << AppTexts::StartFailed + QString::number(m_control->lastError());
            return false;
        }
        state = queryStatus(service);
        if (!state)
            return false;
    }
}

} // namespace Corvel
