#include "wizard/page_flow.h"

namespace Corvel::PageFlow {

using CorvelService::JobType;

WizardPage afterRecoveryType(const RecoveryType& type)
{
    if (!type)
        return BMRSettings;
    switch (*type) {
    case JobType::Virtualization:
        return VirtualizationType;
    case JobType::VirtualExport:
        return VirtualDiskType;
    case JobType::FileRecovery:
        break;
    }
    return RecoveryDataSource;
}

std::optional<WizardPage> afterRecoveryPoint(const RecoveryType& type)
{
    if (!type)
        return std::nullopt;
    return *type == JobType::FileRecovery ? LocalCache : DisksSelector;
}

WizardPage afterLocalCache(const RecoveryType& type)
{
    return type && *type == JobType::Virtualization ? VmSettings : FileRecoverSettings;
}

bool pagesScroll(int screenHeight)
{
    return screenHeight < 768;
}

} // namespace Corvel::PageFlow
