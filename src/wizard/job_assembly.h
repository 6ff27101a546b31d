#pragma once

#include "CorvelService.h"
#include "wizard/recovery_wizard_values.h"

#include <QString>

// Turning the wizard's values into the job the local service runs.
namespace Corvel::JobAssembly {

CorvelService::JobConfiguration configuration(const RecoveryWizardValues& values);

// The two log messages of a launch. Neither holds the device token, the share credentials or the
// description.
QString valuesLog(const RecoveryWizardValues& values);
QString vmSettingsLog(const RecoveryWizardValues& values);

} // namespace Corvel::JobAssembly
