#include "core/hyperv_check.h"

#include "core/core_texts.h"

#include <QDebug>

namespace Corvel {

using CorvelPlatform::ServiceControl;
using CorvelPlatform::ServiceHandle;

bool isHyperVRunning(ServiceControl& control)
{
    const ServiceHandle manager = control.openManager();
    if (!manager) {
        qCritical().noquote() << CoreTexts::OpenManagerFailed + QString::number(control.lastError());
        return false;
    }
    const ServiceHandle vmms = control.openService(manager, "vmms");
    if (!vmms) {
        qCritical().noquote() << CoreTexts::VmmsHandleFailed + QString::number(control.lastError());
        control.closeHandle(manager);
        return false;
    }
    unsigned long state = 0;
    const bool queried = control.queryState(vmms, state);
    if (!queried)
        qCritical().noquote() << CoreTexts::QueryStatusFailed + QString::number(control.lastError());
    control.closeHandle(vmms);
    control.closeHandle(manager);
    return queried && state == ServiceControl::Running;
}

} // namespace Corvel
