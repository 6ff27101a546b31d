#pragma once

#include "CorvelService.h"
#include "wizard/recovery_wizard_page.h"

namespace CorvelWidgets {
class CvWizardButton;
}

namespace Corvel {

// Whether the virtual machine is a test or a live (production) recovery.
class PageVirtualizationType : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageVirtualizationType(CorvelService::VirtualizationType::type* virtualizationType,
                           const CorvelWidgets::IconFont& iconFont, QWidget* parent = nullptr);

    CorvelWidgets::CvWizardButton* testTile() const { return m_test; }
    CorvelWidgets::CvWizardButton* productionTile() const { return m_production; }

private:
    CorvelService::VirtualizationType::type* m_virtualizationType;
    CorvelWidgets::CvWizardButton* m_test;
    CorvelWidgets::CvWizardButton* m_production;
};

} // namespace Corvel
