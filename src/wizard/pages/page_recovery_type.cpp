#include "wizard/pages/page_recovery_type.h"

#include "widgets/cv_wizard_button.h"
#include "widgets/icon_font.h"
#include "wizard/page_flow.h"
#include "wizard/pages/page_parts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace Corvel {

using CorvelService::JobType;

namespace {

const char* const VirtualizeDescription =
    "Quickly boot selected recovery point as a<br/>virtual machine for testing or live recovery.";

} // namespace

PageRecoveryType::PageRecoveryType(std::optional<JobType::type>* recoveryType, bool hyperVInstalled,
                                   const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : RecoveryWizardPage(iconFont, "Recovery Type", parent)
    , m_recoveryType(recoveryType)
{
    auto* header = new QLabel("<b>What Type of Recovery Do You Want to Perform?</b>");
    header->setObjectName("sub_header");

    const QString virtualizeText = hyperVInstalled
                                       ? QString(VirtualizeDescription)
                                       : QString(VirtualizeDescription) +
                                             "<br/><font size=2>(Disabled - Hyper-V is not installed on this machine)";
    m_virtualize = new CorvelWidgets::CvWizardButton("Virtualize (Hyper-V)", virtualizeText, iconFont.icon(0xE968));
    m_virtualize->setEnabled(hyperVInstalled);
    m_export = new CorvelWidgets::CvWizardButton(
        "Virtual Disk Export",
        "Export the selected recovery point to virtual disk<br/>image(s) compatible with common virtual<br/>machine "
        "hypervisors. Export is virtual and does<br/>not require data conversion or extra disk space.",
        iconFont.icon(0xE9B1));
    m_files = new CorvelWidgets::CvWizardButton("Recover Files",
                                                "Mount the selected recovery point as a local<br/>volume so you can "
                                                "browse and recover individual<br/>files and folders.",
                                                iconFont.icon(0xE919));
    m_bareMetal = new CorvelWidgets::CvWizardButton(
        "Bare Metal Restore", "Restore a complete Windows system image onto<br/>new hardware by conducting a BMR.",
        iconFont.icon(0xE979));

    // The type is written before the page change, so the next page already sees it.
    const std::pair<CorvelWidgets::CvWizardButton*, PageFlow::RecoveryType> tiles[] = {
        {m_virtualize, JobType::Virtualization},
        {m_export, JobType::VirtualExport},
        {m_files, JobType::FileRecovery},
        {m_bareMetal, std::nullopt},
    };
    for (const auto& [tile, type] : tiles) {
        connect(tile, &CorvelWidgets::CvWizardButton::clicked, this, [this, type = type] { *m_recoveryType = type; });
        connectNext(tile, PageFlow::afterRecoveryType(type));
    }

    m_cancel = new QPushButton("Cancel");
    m_cancel->setObjectName("button_secondary");
    m_cancel->setAccessibleName("Cancel");
    connectBack(m_cancel);

    auto* buttons = PageParts::footer({}, {m_cancel});

    QVBoxLayout* layout = contentLayout();
    layout->setSpacing(0);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(header);
    for (const auto& tile : tiles)
        layout->addWidget(tile.first);
    layout->addLayout(buttons);
    finishLayout(false);
}

} // namespace Corvel
