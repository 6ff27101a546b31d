#pragma once

#include "CorvelService.h"
#include "wizard/recovery_wizard_page.h"

namespace Corvel {

// The disk image format of a virtual disk export.
class PageVirtualDiskType : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageVirtualDiskType(CorvelService::VirtualDiskType::type* virtualDiskType, const CorvelWidgets::IconFont& iconFont,
                        QWidget* parent = nullptr);

private:
    CorvelService::VirtualDiskType::type* m_virtualDiskType;
};

} // namespace Corvel
