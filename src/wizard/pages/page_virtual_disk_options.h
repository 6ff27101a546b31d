#pragma once

#include "CorvelService.h"
#include "wizard/recovery_wizard_page.h"

#include <map>

class QPushButton;
class QRadioButton;

namespace CorvelWidgets {
class CvDirSelector;
}

namespace Corvel {

struct RecoveryWizardVmSettings;

// The virtual machine's disk format (VHD or VHDX) and the folder for its files.
class PageVirtualDiskOptions : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageVirtualDiskOptions(RecoveryWizardVmSettings* vmSettings, const CorvelWidgets::IconFont& iconFont,
                           QWidget* parent = nullptr);

    void onPageShown() override;

private:
    bool storeFormat();
    void updateNext();
    void goNext();

    RecoveryWizardVmSettings* m_vm;
    std::map<CorvelService::VirtualDiskType::type, QRadioButton*> m_formats;
    CorvelWidgets::CvDirSelector* m_dirSelector;
    QPushButton* m_next;
};

} // namespace Corvel
