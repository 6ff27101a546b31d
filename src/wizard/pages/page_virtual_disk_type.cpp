#include "wizard/pages/page_virtual_disk_type.h"

#include "widgets/cv_wizard_button.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"
#include "wizard/page_flow.h"
#include "wizard/pages/page_parts.h"

#include <QPushButton>

namespace Corvel {

using CorvelService::VirtualDiskType;

namespace {

struct Format {
    const char* title;
    const char* description;
    VirtualDiskType::type value;
};

// Azure stands between the VMware and the Hyper-V formats on purpose.
const Format Formats[] = {
    {"VMDK - ESXi Host", "Generate files compatible with VMware Servers", VirtualDiskType::VmdkEsxi},
    {"VMDK - Workstation", "Generate files compatible with VMware Workstation", VirtualDiskType::VmdkWorkstation},
    {"VHD - Microsoft Azure", "Generate files compatible with Microsoft Azure", VirtualDiskType::VhdAzure},
    {"VHD - Hyper-V (Generation 1)", "Generate files compatible with Hyper-V (Legacy) VM's",
     VirtualDiskType::VhdGenOne},
    {"VHDX - Hyper-V (Generation 2)", "Generate files compatible with Hyper-V (Modern) VM's",
     VirtualDiskType::VhdxGenTwo},
    {"VDI - VirtualBox", "Generate files compatible with VirtualBox", VirtualDiskType::VdiVirtualBox},
    {"QCOW2 - KVM / QEMU", "Generate files compatible with KVM or QEMU", VirtualDiskType::Qcow2KvmQemu},
    {"RAW - KVM / QEMU / Generic", "Generate generic RAW files compatible with multiple Hypervisors",
     VirtualDiskType::RawKvmQemu},
};

} // namespace

PageVirtualDiskType::PageVirtualDiskType(VirtualDiskType::type* virtualDiskType,
                                         const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : RecoveryWizardPage(iconFont, "Virtual Disk Type", parent)
    , m_virtualDiskType(virtualDiskType)
{
    QList<CorvelWidgets::CvWizardButton*> tiles;
    for (const Format& format : Formats) {
        auto* tile = new CorvelWidgets::CvWizardButton(format.title, format.description,
                                                       iconFont.icon(CorvelWidgets::Glyph::VirtualDiskExport));
        const VirtualDiskType::type value = format.value;
        connectTile(
            tile, [this, value] { *m_virtualDiskType = value; }, PageFlow::AfterVirtualDiskType);
        tiles.append(tile);
    }
    QPushButton* back = PageParts::back(iconFont);
    connectBack(back);
    // Two columns: eight tiles in one would not fit a 768-pixel screen.
    layoutTiles("What Type of Recovery Do You Want to Perform?", tiles, back, 2);
}

} // namespace Corvel
