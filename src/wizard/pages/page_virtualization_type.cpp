#include "wizard/pages/page_virtualization_type.h"

#include "widgets/cv_wizard_button.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"
#include "wizard/page_flow.h"
#include "wizard/pages/page_parts.h"

#include <QPushButton>

namespace Corvel {

using CorvelService::VirtualizationType;

PageVirtualizationType::PageVirtualizationType(VirtualizationType::type* virtualizationType,
                                               const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : RecoveryWizardPage(iconFont, "Virtualization Type", parent)
    , m_virtualizationType(virtualizationType)
{
    auto* test = new CorvelWidgets::CvWizardButton(
        "Make it a Test",
        "For testing the virtualization process and<br/>verifying the availability of recovery points.",
        iconFont.icon(CorvelWidgets::Glyph::Test));
    auto* production = new CorvelWidgets::CvWizardButton(
        "Put it in Production",
        "For when a disaster occurs, make this a Live<br/>Recovery. Live-mode persistent snapshots will<br/>be "
        "created in the Cloud and local recovery data<br/>will be preserved until manually removed.",
        iconFont.icon(CorvelWidgets::Glyph::Production));
    connectTile(
        test, [this] { *m_virtualizationType = VirtualizationType::Test; }, PageFlow::AfterVirtualizationType);
    connectTile(
        production, [this] { *m_virtualizationType = VirtualizationType::Production; },
        PageFlow::AfterVirtualizationType);
    QPushButton* back = PageParts::back(iconFont);
    connectBack(back);
    layoutTiles("What Type of Virtual Recovery Do You Want to Perform?", {test, production}, back);
}

} // namespace Corvel
