#pragma once

#include "CorvelService.h"
#include "wizard/recovery_wizard_page.h"

#include <optional>

class QLabel;
class QPushButton;
class QRadioButton;

namespace CorvelWidgets {
class CvDirSelector;
class StyledCombobox;
} // namespace CorvelWidgets

namespace Corvel {

// Where the recovered volumes or disk images are mounted; its start button ends the wizard.
class PageFileRecoverSettings : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageFileRecoverSettings(QString* mountPoint, const std::optional<CorvelService::JobType::type>* recoveryType,
                            const CorvelWidgets::IconFont& iconFont, QWidget* parent = nullptr);

    void onPageShown() override;

private:
    QString* m_mountPoint;
    const std::optional<CorvelService::JobType::type>* m_recoveryType;
    QLabel* m_header;
    QLabel* m_description;
    QRadioButton* m_driveButton;
    CorvelWidgets::StyledCombobox* m_driveCombo;
    QRadioButton* m_pathButton;
    CorvelWidgets::CvDirSelector* m_dirSelector;
    QPushButton* m_start;
};

} // namespace Corvel
