#include "core/hyperv_check.h"

#include <QDebug>

namespace Corvel {

using CorvelPlatform::ServiceControl;
using CorvelPlatform::ServiceHandle;

bool isHyperVRunning(ServiceControl& control)
{
    const ServiceHandle manager = control.openManager();
    if (!manager) {
        qCritical().noquote() << "OpenSCManager failed. Error=" + QString::number(control.lastError());
        return false;
    }
    const ServiceHandle vmms = control.openService(manager, "vmms");
    if (!vmms) {
        qCritical().noquote() << "failed to get handle to Hyper-V Virtual Machine Management service. Error=" +
                                     QString::number(control.lastError());
        control.closeHandle(manager);
        return false;
    }
    unsigned long state = 0;
    const bool queried = control.queryState(vmms, state);
    if (!queried)
        qCritical().noquote() << " QueryServiceStatusEx failed. Error=" + QString::number(control.lastError());
    control.closeHandle(vmms);
    control.closeHandle(manager);
    return queried && state == ServiceControl::Running;
}

} // namespace Corvel
