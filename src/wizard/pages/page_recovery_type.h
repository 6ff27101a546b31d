#pragma once

#include "CorvelService.h"
#include "wizard/recovery_wizard_page.h"

#include <optional>

namespace Corvel {

// The first page: which kind of recovery to perform.
class PageRecoveryType : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageRecoveryType(std::optional<CorvelService::JobType::type>* recoveryType, bool hyperVInstalled,
                     const CorvelWidgets::IconFont& iconFont, QWidget* parent = nullptr);

private:
    std::optional<CorvelService::JobType::type>* m_recoveryType;
};

} // namespace Corvel
