#include "wizard/pages/page_local_cache.h"

#include "widgets/cv_credentials_editor.h"
#include "widgets/cv_dir_selector.h"
#include "widgets/icon_font.h"
#include "widgets/loader_widget.h"
#include "widgets/message_box.h"
#include "wizard/page_flow.h"
#include "wizard/pages/page_parts.h"
#include "wizard/recovery_wizard_values.h"
#include "wizard/restore_points.h"
#include "wizard/wizard_texts.h"

#include <QDebug>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace Corvel {

PageLocalCache::PageLocalCache(RecoveryWizardValues* values, const PageContext& context,
                               const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : RecoveryWizardPage(iconFont, "Recovery Path", parent)
    , m_values(values)
    , m_model(*values, context)
    , m_summary(new QLabel)
    , m_cloudButton(new QRadioButton("Restore directly from cloud"))
    , m_cacheButton(new QRadioButton("Restore using a local cache"))
    , m_path(new CorvelWidgets::CvDirSelector("C:\\", iconFont, false))
    , m_credentials(new CorvelWidgets::CvCredentialsEditor(iconFont))
    , m_description(new QLineEdit)
    , m_loader(new CorvelWidgets::LoaderWidget)
    , m_back(PageParts::back(iconFont))
    , m_cancel(new QPushButton("Cancel"))
    , m_next(PageParts::next(iconFont))
{
    m_summary->setObjectName("recovery_summary");
    m_summary->setTextFormat(Qt::RichText);
    m_cloudButton->setChecked(true);
    m_credentials->setDescription("Credentials needed to connect to the network share:");
    m_description->setObjectName("job_description");
    m_description->setAccessibleName("RECOVERY DESCRIPTION (OPTIONAL):");
    m_cancel->setObjectName("button_secondary");
    m_cancel->setAccessibleName("Cancel");
    m_path->setEnabled(false);
    m_credentials->setEnabled(false);
    m_values->localCachePath = QStringLiteral("C:\\");

    connect(m_cacheButton, &QRadioButton::toggled, this, [this](bool checked) {
        m_values->localCacheEnabled = checked;
        m_path->setEnabled(checked);
        m_credentials->setEnabled(checked);
    });
    connect(m_path, &CorvelWidgets::CvDirSelector::dirChanged, this,
            [this](const QString& path) { m_values->localCachePath = path; });
    connect(m_credentials, &CorvelWidgets::CvCredentialsEditor::loginChanged, this,
            [this](const QString& login) { m_values->localCacheLogin = login; });
    connect(m_credentials, &CorvelWidgets::CvCredentialsEditor::passwordChanged, this,
            [this](const QString& password) { m_values->localCachePassword = password; });
    connect(m_description, &QLineEdit::textChanged, this,
            [this](const QString& text) { m_values->jobDescription = text; });
    connectBack(m_back);
    connect(m_cancel, &QPushButton::clicked, this, &RecoveryWizardPage::closeWizard);
    connect(m_next, &QPushButton::clicked, this, &PageLocalCache::onNext);
    PageParts::bindLoader(&m_model, &LocalCacheModel::loading, m_loader);
    connect(&m_model, &LocalCacheModel::loading, this,
            [this](const QString& text) { setInputsEnabled(text.isEmpty()); });
    connect(&m_model, &LocalCacheModel::passed, this,
            [this] { emit nextPageRequested(PageFlow::afterLocalCache(m_values->recoveryType)); });
    connect(&m_model, &LocalCacheModel::refused, this, [this](const QString& text) {
        CorvelWidgets::MessageBox::critical(this, WizardTexts::CacheErrorTitle, text);
    });

    auto* buttons = PageParts::footer({m_loader}, {m_back, m_cancel, m_next});
    QVBoxLayout* layout = contentLayout();
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(PageParts::label("<b>How Do You Want to Retrieve the Data?</b>", "sub_header"));
    layout->addWidget(m_summary);
    layout->addWidget(
        PageParts::label("You have the option to accelerate your restore by reading<br/>data previously stored in "
                         "a \"local cache\" instead of data<br/>from the cloud.",
                         "wizard_page_desription"));
    layout->addWidget(m_cloudButton);
    layout->addWidget(m_cacheButton);
    layout->addWidget(m_path);
    layout->addWidget(m_credentials);
    layout->addWidget(PageParts::label("RECOVERY DESCRIPTION (OPTIONAL):", "field_label"));
    layout->addWidget(m_description);
    layout->addLayout(buttons);
    finishLayout(true);
}

void PageLocalCache::onPageShown()
{
    // The snapshot as the operator picked it (date and time), not the service's identifier.
    const QDateTime point = RestorePoints::parse(m_values->snapshot);
    const QString snapshot = point.isValid() ? point.toString("M/d/yyyy h:mm ap") : m_values->snapshot;
    m_summary->setText("<b>Recovering Client </b><i>" + m_values->clientName.toHtmlEscaped() +
                       ",<br/></i><b>Protected System </b><i>" + m_values->deviceName.toHtmlEscaped() +
                       ",</i><br/><b>Snapshot </b><i>" + snapshot.toHtmlEscaped() + "</i>");
}

void PageLocalCache::setInputsEnabled(bool enabled)
{
    for (QWidget* input :
         {static_cast<QWidget*>(m_cloudButton), static_cast<QWidget*>(m_cacheButton),
          static_cast<QWidget*>(m_description), static_cast<QWidget*>(m_back), static_cast<QWidget*>(m_next)})
        input->setEnabled(enabled);
    m_path->setEnabled(enabled && m_values->localCacheEnabled);
    m_credentials->setEnabled(enabled && m_values->localCacheEnabled);
}

void PageLocalCache::onNext()
{
    if (!m_values->localCacheEnabled) {
        emit nextPageRequested(PageFlow::afterLocalCache(m_values->recoveryType));
        return;
    }
    m_model.check();
}

} // namespace Corvel
