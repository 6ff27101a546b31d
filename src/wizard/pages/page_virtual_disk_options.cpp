#include "wizard/pages/page_virtual_disk_options.h"

#include "widgets/cv_dir_selector.h"
#include "wizard/page_flow.h"
#include "wizard/pages/page_parts.h"
#include "wizard/recovery_wizard_values.h"
#include "wizard/wizard_rules.h"

#include <QDebug>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include <algorithm>

namespace Corvel {

using CorvelService::VirtualDiskType;

namespace {

QString defaultStorageFolder()
{
    return qEnvironmentVariable("LOCALAPPDATA") + "\\Hyper-V";
}

} // namespace

PageVirtualDiskOptions::PageVirtualDiskOptions(RecoveryWizardVmSettings* vmSettings,
                                               const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : RecoveryWizardPage(iconFont, "Virtual Disk Options", parent)
    , m_vm(vmSettings)
    , m_dirSelector(new CorvelWidgets::CvDirSelector(defaultStorageFolder(), iconFont, false))
    , m_next(PageParts::next(iconFont))
{
    m_formats[VirtualDiskType::VhdGenOne] = new QRadioButton("VHD (2TiB Maximum Disk Size)");
    m_formats[VirtualDiskType::VhdxGenTwo] = new QRadioButton("VHDX");
    m_vm->storageLocation = defaultStorageFolder();

    for (const auto& [value, button] : m_formats)
        connect(button, &QRadioButton::toggled, this, [this] {
            storeFormat();
            updateNext();
        });
    connect(m_dirSelector, &CorvelWidgets::CvDirSelector::dirChanged, this, [this](const QString& path) {
        m_vm->storageLocation = path;
        updateNext();
    });
    QPushButton* back = PageParts::back(iconFont);
    connectBack(back);
    connect(m_next, &QPushButton::clicked, this, &PageVirtualDiskOptions::goNext);

    auto* buttons = PageParts::footer({}, {back, m_next});
    QVBoxLayout* layout = contentLayout();
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(PageParts::label("<b>How do you want to mount the Virtual Disk image(s)?</b>", "sub_header"));
    layout->addWidget(
        PageParts::label("Select the Virtual Disk Format you wish to use. VHD(Legacy)<br/>disks have a maximum 2TiB "
                         "capacity limit. VHDX(Modern) disks<br/>are required for larger volume sizes",
                         "wizard_page_desription"));
    layout->addWidget(PageParts::label("Virtual Disk Format:", "field_label"));
    for (const auto& entry : m_formats)
        layout->addWidget(entry.second);
    layout->addWidget(PageParts::label("Virtual Machine Storage Location:", "field_label"));
    layout->addWidget(
        PageParts::label("Select the location where the Virtual Machine configuration<br/>files will be created",
                         "wizard_page_desription"));
    layout->addWidget(m_dirSelector);
    layout->addStretch();
    layout->addLayout(buttons);
    finishLayout(false);
    updateNext();
}

bool PageVirtualDiskOptions::storeFormat()
{
    for (const auto& [value, button] : m_formats) {
        if (button->isChecked()) {
            m_vm->diskType = value;
            return true;
        }
    }
    return false;
}

void PageVirtualDiskOptions::updateNext()
{
    const bool checked =
        std::any_of(m_formats.cbegin(), m_formats.cend(), [](const auto& entry) { return entry.second->isChecked(); });
    m_next->setEnabled(!m_vm->storageLocation.isEmpty() && checked);
}

void PageVirtualDiskOptions::goNext()
{
    if (!storeFormat()) {
        qCritical() << "No disk type button selected. Select default value";
        m_vm->diskType = VirtualDiskType::VhdGenOne;
    }
    emit nextPageRequested(PageFlow::AfterVirtualDiskOptions);
}

void PageVirtualDiskOptions::onPageShown()
{
    m_formats.at(VirtualDiskType::VhdGenOne)->setEnabled(WizardRules::vhdAllowed(m_vm->generation));
    if (m_vm->generation == 2)
        m_formats.at(VirtualDiskType::VhdxGenTwo)->setChecked(true);
    updateNext();
}

} // namespace Corvel
