#include "wizard/pages/page_virtualization_type.h"

#include "widgets/cv_wizard_button.h"
#include "widgets/icon_font.h"
#include "wizard/page_flow.h"
#include "wizard/pages/page_parts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace Corvel {

using CorvelService::VirtualizationType;

PageVirtualizationType::PageVirtualizationType(VirtualizationType::type* virtualizationType,
                                               const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : RecoveryWizardPage(iconFont, "Virtualization Type", parent)
    , m_virtualizationType(virtualizationType)
    , m_test(new CorvelWidgets::CvWizardButton(
          "Make it a Test",
          "For testing the virtualization process and<br/>verifying the availability of recovery points.",
          iconFont.icon(0xE971)))
    , m_production(new CorvelWidgets::CvWizardButton(
          "Put it in Production",
          "For when a disaster occurs, make this a Live<br/>Recovery. Live-mode persistent snapshots will<br/>be "
          "created in the Cloud and local recovery data<br/>will be preserved until manually removed.",
          iconFont.icon(0xE969)))
{
    auto* header = new QLabel("<b>What Type of Virtual Recovery Do You Want to Perform?</b>");
    header->setObjectName("sub_header");
    connect(m_test, &CorvelWidgets::CvWizardButton::clicked, this,
            [this] { *m_virtualizationType = VirtualizationType::Test; });
    connect(m_production, &CorvelWidgets::CvWizardButton::clicked, this,
            [this] { *m_virtualizationType = VirtualizationType::Production; });
    connectNext(m_test, PageFlow::AfterVirtualizationType);
    connectNext(m_production, PageFlow::AfterVirtualizationType);
    QPushButton* back = PageParts::back(iconFont);
    connectBack(back);

    auto* buttons = PageParts::footer({}, {back});
    QVBoxLayout* layout = contentLayout();
    layout->setSpacing(0);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(header);
    layout->addWidget(m_test);
    layout->addWidget(m_production);
    layout->addLayout(buttons);
    finishLayout(false);
}

} // namespace Corvel
