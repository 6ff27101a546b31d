#include "wizard/pages/page_recovery_type.h"

#include "widgets/cv_wizard_button.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"
#include "wizard/page_flow.h"

#include <QPushButton>

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
    const QString virtualizeText = hyperVInstalled
                                       ? QString(VirtualizeDescription)
                                       : QString(VirtualizeDescription) +
                                             "<br/><font size=2>(Disabled - Hyper-V is not installed on this machine)";
    auto* virtualize = new CorvelWidgets::CvWizardButton("Virtualize (Hyper-V)", virtualizeText,
                                                         iconFont.icon(CorvelWidgets::Glyph::Virtualize));
    virtualize->setEnabled(hyperVInstalled);
    auto* exportTile = new CorvelWidgets::CvWizardButton(
        "Virtual Disk Export",
        "Export the selected recovery point to virtual disk<br/>image(s) compatible with common virtual<br/>machine "
        "hypervisors. Export is virtual and does<br/>not require data conversion or extra disk space.",
        iconFont.icon(CorvelWidgets::Glyph::VirtualDiskExport));
    auto* files = new CorvelWidgets::CvWizardButton("Recover Files",
                                                    "Mount the selected recovery point as a local<br/>volume so you "
                                                    "can browse and recover individual<br/>files and folders.",
                                                    iconFont.icon(CorvelWidgets::Glyph::Folder));
    auto* bareMetal = new CorvelWidgets::CvWizardButton(
        "Bare Metal Restore", "Restore a complete Windows system image onto<br/>new hardware by conducting a BMR.",
        iconFont.icon(CorvelWidgets::Glyph::BareMetal));

    const std::pair<CorvelWidgets::CvWizardButton*, PageFlow::RecoveryType> tiles[] = {
        {virtualize, JobType::Virtualization},
        {exportTile, JobType::VirtualExport},
        {files, JobType::FileRecovery},
        {bareMetal, std::nullopt},
    };
    for (const auto& [tile, type] : tiles)
        connectTile(
            tile, [this, type = type] { *m_recoveryType = type; }, PageFlow::afterRecoveryType(type));

    auto* cancel = new QPushButton("Cancel");
    cancel->setObjectName("button_secondary");
    cancel->setAccessibleName("Cancel");
    connectBack(cancel);
    layoutTiles("What Type of Recovery Do You Want to Perform?", {virtualize, exportTile, files, bareMetal}, cancel);
}

} // namespace Corvel
