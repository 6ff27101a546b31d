#pragma once

#include "CorvelService.h"
#include "wizard/recovery_wizard_page.h"

#include <QList>

namespace CorvelWidgets {
class CvWizardButton;
}

namespace Corvel {

// The disk image format of a virtual disk export.
class PageVirtualDiskType : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageVirtualDiskType(CorvelService::VirtualDiskType::type* virtualDiskType, const CorvelWidgets::IconFont& iconFont,
                        QWidget* parent = nullptr);

    // In display order.
    const QList<CorvelWidgets::CvWizardButton*>& tiles() const { return m_tiles; }

private:
    CorvelService::VirtualDiskType::type* m_virtualDiskType;
    QList<CorvelWidgets::CvWizardButton*> m_tiles;
};

} // namespace Corvel
