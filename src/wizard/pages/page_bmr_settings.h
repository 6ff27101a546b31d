#pragma once

#include "core/settings.h"
#include "wizard/recovery_wizard_page.h"

class QPushButton;

namespace Corvel {

// Bare metal restore is not run from here: the page points at the recovery ISO.
class PageBMRSettings : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageBMRSettings(const Settings& settings, const CorvelWidgets::IconFont& iconFont, QWidget* parent = nullptr);

private:
    void openIsoAddress();

    const Settings& m_settings;
    QPushButton* m_download;
};

} // namespace Corvel
