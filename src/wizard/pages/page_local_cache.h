#pragma once

#include "wizard/models/local_cache_model.h"
#include "wizard/recovery_wizard_page.h"

class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace CorvelWidgets {
class CvCredentialsEditor;
class CvDirSelector;
class LoaderWidget;
} // namespace CorvelWidgets

namespace Corvel {

struct RecoveryWizardValues;

// Restore straight from the cloud or through a local cache, checked with the device's passphrase
// before the wizard moves on; and the job's optional description.
class PageLocalCache : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageLocalCache(RecoveryWizardValues* values, const PageContext& context, const CorvelWidgets::IconFont& iconFont,
                   QWidget* parent = nullptr);

    void onPageShown() override;

private:
    void onNext();
    void setInputsEnabled(bool enabled);

    RecoveryWizardValues* m_values;
    LocalCacheModel m_model;

    QLabel* m_summary;
    QRadioButton* m_cloudButton;
    QRadioButton* m_cacheButton;
    CorvelWidgets::CvDirSelector* m_path;
    CorvelWidgets::CvCredentialsEditor* m_credentials;
    QLineEdit* m_description;
    CorvelWidgets::LoaderWidget* m_loader;
    QPushButton* m_back;
    QPushButton* m_cancel;
    QPushButton* m_next;
};

} // namespace Corvel
