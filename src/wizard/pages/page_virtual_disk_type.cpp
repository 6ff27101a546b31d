#include "wizard/pages/page_virtual_disk_type.h"

#include "widgets/cv_wizard_button.h"
#include "widgets/icon_font.h"
#include "wizard/page_flow.h"
#include "wizard/pages/page_parts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace Corvel {

using CorvelService::VirtualDiskType;

namespace {

constexpr ushort ExportGlyph = 0xE9B1;

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
    auto* header = new QLabel("<b>What Type of Recovery Do You Want to Perform?</b>");
    header->setObjectName("sub_header");
    QVBoxLayout* layout = contentLayout();
    layout->setSpacing(0);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(header);
    for (const Format& format : Formats) {
        auto* tile = new CorvelWidgets::CvWizardButton(format.title, format.description, iconFont.icon(ExportGlyph));
        connectNext(tile, PageFlow::AfterVirtualDiskType);
        const VirtualDiskType::type value = format.value;
        connect(tile, &CorvelWidgets::CvWizardButton::clicked, this, [this, value] { *m_virtualDiskType = value; });
        layout->addWidget(tile);
        m_tiles.append(tile);
    }
    QPushButton* back = PageParts::back(iconFont);
    connectBack(back);
    auto* buttons = PageParts::footer({}, {back});
    layout->addLayout(buttons);
    finishLayout(false);
}

} // namespace Corvel
