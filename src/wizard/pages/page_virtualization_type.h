#pragma once

#include "CorvelService.h"
#include "wizard/recovery_wizard_page.h"

namespace Corvel {

// Whether the virtual machine is a test or a live (production) recovery.
class PageVirtualizationType : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageVirtualizationType(CorvelService::VirtualizationType::type* virtualizationType,
                           const CorvelWidgets::IconFont& iconFont, QWidget* parent = nullptr);

private:
    CorvelService::VirtualizationType::type* m_virtualizationType;
};

} // namespace Corvel
