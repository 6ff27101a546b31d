#pragma once

#include "CorvelService.h"
#include "wizard/recovery_wizard_page.h"

#include <optional>

class QPushButton;

namespace CorvelWidgets {
class CvWizardButton;
}

namespace Corvel {

// The first page: which kind of recovery to perform.
class PageRecoveryType : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageRecoveryType(std::optional<CorvelService::JobType::type>* recoveryType, bool hyperVInstalled,
                     const CorvelWidgets::IconFont& iconFont, QWidget* parent = nullptr);

    CorvelWidgets::CvWizardButton* virtualizeTile() const { return m_virtualize; }
    CorvelWidgets::CvWizardButton* exportTile() const { return m_export; }
    CorvelWidgets::CvWizardButton* filesTile() const { return m_files; }
    CorvelWidgets::CvWizardButton* bareMetalTile() const { return m_bareMetal; }

private:
    std::optional<CorvelService::JobType::type>* m_recoveryType;
    CorvelWidgets::CvWizardButton* m_virtualize;
    CorvelWidgets::CvWizardButton* m_export;
    CorvelWidgets::CvWizardButton* m_files;
    CorvelWidgets::CvWizardButton* m_bareMetal;
    QPushButton* m_cancel;
};

} // namespace Corvel
