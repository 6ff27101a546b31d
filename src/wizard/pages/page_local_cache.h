#pragma once

#include "wizard/pages/page_context.h"
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

    QLabel* summary() const { return m_summary; }
    QRadioButton* cloudButton() const { return m_cloudButton; }
    QRadioButton* cacheButton() const { return m_cacheButton; }
    CorvelWidgets::CvDirSelector* pathSelector() const { return m_path; }
    CorvelWidgets::CvCredentialsEditor* credentials() const { return m_credentials; }
    QLineEdit* descriptionEdit() const { return m_description; }
    QPushButton* nextButton() const { return m_next; }
    CorvelWidgets::LoaderWidget* loader() const { return m_loader; }

private:
    void onNext();
    void setInputsEnabled(bool enabled);
    void showError(const QString& text);

    RecoveryWizardValues* m_values;
    VuskAPI::CloudApi& m_cloud;
    PageContext m_context;
    quint64 m_passphraseGeneration = 0;

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
