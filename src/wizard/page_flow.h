#pragma once

#include "CorvelService.h"
#include "wizard/wizard_page.h"

#include <optional>

// Which page follows which: every decision the pages take from the collected values.
namespace Corvel::PageFlow {

using RecoveryType = std::optional<CorvelService::JobType::type>;

// The first page of the flow a recovery-type tile starts.
WizardPage afterRecoveryType(const RecoveryType& type);
// None while no recovery type is set.
std::optional<WizardPage> afterRecoveryPoint(const RecoveryType& type);
WizardPage afterLocalCache(const RecoveryType& type);

constexpr WizardPage AfterVirtualDiskType = RecoveryDataSource;
constexpr WizardPage AfterVirtualizationType = RecoveryDataSource;
constexpr WizardPage AfterDataSource = RecoveryPoint;
constexpr WizardPage AfterDisksSelector = LocalCache;
constexpr WizardPage AfterVmSettings = VirtualDiskOptions;
constexpr WizardPage AfterVirtualDiskOptions = FileRecoverSettings;

// Whether pages scroll inside a scroll area on a primary screen this many pixels high.
bool pagesScroll(int screenHeight);

} // namespace Corvel::PageFlow
