#include "wizard/pages/page_disks_selector.h"

#include "widgets/loader_widget.h"
#include "widgets/message_box.h"
#include "wizard/page_flow.h"
#include "wizard/pages/page_parts.h"
#include "wizard/recovery_wizard_values.h"
#include "wizard/wizard_rules.h"
#include "wizard/wizard_texts.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace Corvel {

using namespace CorvelService;

PageDisksSelector::PageDisksSelector(RecoveryWizardValues* values, const PageContext& context,
                                     const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : RecoveryWizardPage(iconFont, "Physical Disks", parent)
    , m_values(values)
    , m_model(context)
    , m_diskList(new QWidget)
    , m_diskLayout(new QVBoxLayout(m_diskList))
    , m_exportRow(new QWidget)
    , m_dynamic(new QCheckBox("Create Dynamic (Thin) Disk Volumes"))
    , m_loader(new CorvelWidgets::LoaderWidget)
    , m_next(PageParts::next(iconFont))
{
    m_diskLayout->setContentsMargins(0, 0, 0, 0);
    auto* exportLayout = new QVBoxLayout(m_exportRow);
    exportLayout->setContentsMargins(0, 0, 0, 0);
    exportLayout->addWidget(PageParts::label("EXPORT TYPE:", "field_label"));
    exportLayout->addWidget(PageParts::label("*Default disk volume export type is Static(Thick)", "note_label"));
    exportLayout->addWidget(m_dynamic);

    QPushButton* back = PageParts::back(iconFont);
    connectBack(back);
    connect(m_next, &QPushButton::clicked, this, [this] {
        writeValues();
        emit nextPageRequested(PageFlow::AfterDisksSelector);
    });
    m_next->setEnabled(false);
    m_exportRow->setObjectName("export_type_row");
    m_diskList->setObjectName("disk_list");
    PageParts::bindLoader(&m_model, &DisksModel::loading, m_loader);
    connect(&m_model, &DisksModel::arrived, this, &PageDisksSelector::buildList);
    connect(&m_model, &DisksModel::failed, this, [this] {
        CorvelWidgets::MessageBox::critical(this, WizardTexts::ServiceErrorTitle, WizardTexts::MetadataFailed);
    });

    auto* buttons = PageParts::footer({m_loader}, {back, m_next});
    QVBoxLayout* layout = contentLayout();
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(PageParts::label("<b>Which Physical Disk Do You Want To Restore?</b>", "sub_header"));
    layout->addWidget(PageParts::label("AVAILABLE DISKS:", "field_label"));
    layout->addWidget(PageParts::label("*Some disks might not be exported (if all volumes excluded)", "note_label"));
    layout->addWidget(m_diskList);
    layout->addWidget(m_exportRow);
    layout->addStretch();
    layout->addLayout(buttons);
    finishLayout(true);
}

void PageDisksSelector::onPageShown()
{
    m_dynamicAllowed = WizardRules::dynamicAllowed(m_values->virtualDiskType);
    m_exportRow->setVisible(m_dynamicAllowed);
    const QStringList point{m_values->deviceHost, m_values->deviceToken, m_values->snapshot};
    if (m_model.load(point)) {
        buildList();
        return;
    }
    m_diskList->hide();
    m_exportRow->hide();
    m_next->setEnabled(false);
}

void PageDisksSelector::buildList()
{
    qDeleteAll(m_boxes);
    m_boxes.clear();
    int number = 0;
    for (const auto& entry : m_model.disks()) {
        auto* box = new QCheckBox(WizardRules::diskLabel(number++, entry.second));
        box->setChecked(true);
        connect(box, &QCheckBox::stateChanged, this, &PageDisksSelector::updateNext);
        m_diskLayout->addWidget(box);
        m_boxes.append(box);
    }
    m_diskList->show();
    m_exportRow->setVisible(m_dynamicAllowed);
    updateNext();
}

void PageDisksSelector::updateNext()
{
    m_next->setEnabled(std::any_of(m_boxes.cbegin(), m_boxes.cend(), [](QCheckBox* box) { return box->isChecked(); }));
}

void PageDisksSelector::writeValues()
{
    m_values->disksNames.clear();
    m_values->systemDiskStyle = DiskStyle::RAW;
    int index = 0;
    for (const auto& [name, disk] : m_model.disks()) {
        QCheckBox* box = m_boxes.value(index++);
        if (!box || !box->isChecked())
            continue;
        m_values->disksNames.append(QString::fromStdString(name));
        if (disk.is_system)
            m_values->systemDiskStyle = disk.style;
    }
    if (m_dynamicAllowed)
        m_values->useDynamicVirtualDisk = m_dynamic->isChecked();
}

} // namespace Corvel
