#include "wizard/pages/page_vm_settings.h"

#include "wizard/page_flow.h"
#include "wizard/pages/cv_networks_selector.h"
#include "wizard/pages/page_parts.h"
#include "wizard/recovery_wizard_values.h"
#include "wizard/wizard_rules.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDebug>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QStyle>
#include <QThread>
#include <QVBoxLayout>

namespace Corvel {

using namespace CorvelService;

namespace {

constexpr quint64 MiB = 1048576;

QSpinBox* spin(int minimum, int maximum, qint64 value, const QString& name)
{
    auto* box = new QSpinBox;
    box->setRange(minimum, maximum);
    box->setValue(static_cast<int>(value));
    box->setAccessibleName(name);
    return box;
}

} // namespace

PageVmSettings::PageVmSettings(RecoveryWizardVmSettings* vmSettings, const DiskStyle::type* systemDiskStyle,
                               const PageContext& context, const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : RecoveryWizardPage(iconFont, "Virtual Machine Settings", parent)
    , m_vm(vmSettings)
    , m_systemDiskStyle(systemDiskStyle)
    , m_hyperV(context)
    , m_name(new QLineEdit)
    , m_ram(new QComboBox)
    , m_ramInfo(PageParts::label(QString(), "ram_cores_info"))
    , m_cores(spin(1, QThread::idealThreadCount(), 1, "CPU Cores:"))
    , m_reserve(spin(0, 100, 0, "VIRTUAL MACHINE RESERVE (Percentage):"))
    , m_limit(spin(0, 100, 100, "VIRTUAL MACHINE LIMIT (Percentage):"))
    , m_weight(spin(0, 10000, 100, "RELATIVE WEIGHT:"))
    , m_generation1(new QRadioButton("Hyper-V (Generation 1)"))
    , m_generation2(new QRadioButton("Hyper-V (Generation 2)"))
    , m_boot(new QCheckBox("Boot Virtual Machine on Recovery Job Start"))
    , m_networks(new CorvelWidgets::CvNetworksSelector(iconFont))
    , m_next(PageParts::next(iconFont))
{
    m_name->setPlaceholderText("Enter VM name");
    m_name->setMaxLength(128);
    m_name->setAccessibleName("NAME:");
    m_ram->setObjectName("no_color_combo");
    m_ram->setEditable(true);
    m_ram->setAccessibleName("RAM:");
    m_boot->setChecked(m_vm->bootOnStart);
    m_next->setEnabled(false);

    connect(m_name, &QLineEdit::textChanged, this, [this](const QString& text) {
        m_vm->name = text.trimmed();
        m_nameValid = !m_vm->name.isEmpty();
        updateNext();
    });
    connect(m_cores, qOverload<int>(&QSpinBox::valueChanged), this, [this](int value) { m_vm->cpuCores = value; });
    connect(m_reserve, qOverload<int>(&QSpinBox::valueChanged), this, [this](int value) { m_vm->reserve = value; });
    connect(m_limit, qOverload<int>(&QSpinBox::valueChanged), this, [this](int value) { m_vm->limit = value; });
    connect(m_weight, qOverload<int>(&QSpinBox::valueChanged), this,
            [this](int value) { m_vm->relativeWeight = value; });
    connect(m_generation1, &QRadioButton::toggled, this, [this](bool checked) { m_vm->generation = checked ? 1 : 2; });
    connect(m_boot, &QCheckBox::toggled, this, [this](bool checked) { m_vm->bootOnStart = checked; });
    connect(m_networks, &CorvelWidgets::CvNetworksSelector::onNetworkSelectionChanged, this,
            [this](const QStringList& networks) { m_vm->networkAdapters = networks; });
    QPushButton* back = PageParts::back(iconFont);
    connectBack(back);
    connectNext(m_next, PageFlow::AfterVmSettings);

    auto* form = new QGridLayout;
    form->setHorizontalSpacing(12);
    int row = 0;
    form->addWidget(PageParts::label("NAME:"), row, 0);
    form->addWidget(m_name, row++, 1, 1, 2);
    form->addWidget(PageParts::label("RAM:"), row, 0);
    form->addWidget(m_ram, row, 1);
    form->addWidget(PageParts::label("MiB"), row++, 2);
    form->addWidget(m_ramInfo, row++, 1, 1, 2);
    form->addWidget(PageParts::label("CPU Cores:"), row, 0);
    form->addWidget(m_cores, row++, 1);
    form->addWidget(
        PageParts::label("Host CPU Cores: " + QString::number(QThread::idealThreadCount()), "ram_cores_info"), row++, 1,
        1, 2);
    form->addWidget(PageParts::label("VIRTUAL MACHINE RESERVE (Percentage):"), row, 0);
    form->addWidget(m_reserve, row++, 1);
    form->addWidget(PageParts::label("VIRTUAL MACHINE LIMIT (Percentage):"), row, 0);
    form->addWidget(m_limit, row++, 1);
    form->addWidget(PageParts::label("RELATIVE WEIGHT:"), row, 0);
    form->addWidget(m_weight, row++, 1);

    auto* buttons = PageParts::footer({}, {back, m_next});

    QVBoxLayout* layout = contentLayout();
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(PageParts::label("<b>Configure Virtual Machine Settings</b>", "sub_header"));
    // Two columns, so that the page with its network adapters fits a 768-pixel screen.
    auto* columns = new QHBoxLayout;
    columns->setSpacing(30);
    form->setRowStretch(row, 1);
    columns->addLayout(form);
    auto* machine = new QVBoxLayout;
    machine->addWidget(PageParts::label("Virtual Machine Type:"));
    machine->addWidget(
        PageParts::label("Select the Machine Type appropriate for the Protected System<br/>you wish to recover. "
                         "Classic MBR BIOS systems require<br/>Generation 1. Modern EFI BIOS systems require "
                         "Generation 2",
                         "wizard_page_desription"));
    machine->addWidget(m_generation1);
    machine->addWidget(PageParts::label("Generate a Legacy MBR BIOS based Virtual Machine", "generation_description"));
    machine->addWidget(m_generation2);
    machine->addWidget(PageParts::label("Generate a Modern EFI BIOS based Virtual Machine", "generation_description"));
    machine->addWidget(m_boot);
    machine->addWidget(m_networks);
    machine->addStretch();
    columns->addLayout(machine);
    layout->addLayout(columns);
    layout->addLayout(buttons);
    finishLayout(true);

    connect(&m_hyperV, &HyperVModel::memoryKnown, this, &PageVmSettings::onMemoryKnown);
    connect(&m_hyperV, &HyperVModel::networksKnown, m_networks, &CorvelWidgets::CvNetworksSelector::setNetworks);
}

void PageVmSettings::onMemoryKnown(quint64 availableBytes)
{
    m_maxRamBytes = availableBytes;
    const quint64 maxMiB = m_maxRamBytes / MiB;
    m_ram->setValidator(new QIntValidator(32, static_cast<int>(qMin<quint64>(maxMiB, INT_MAX)), m_ram));
    connect(m_ram, &QComboBox::currentTextChanged, this, &PageVmSettings::checkRam);
    m_ramInfo->setText("AVAILABLE RAM: " + QString::number(maxMiB) + " MiB");
    m_ram->addItems(WizardRules::ramChoices(m_maxRamBytes));
}

void PageVmSettings::checkRam(const QString& text)
{
    const WizardRules::RamCheck check = WizardRules::checkRam(text, m_maxRamBytes);
    if (!check.problem.isEmpty())
        qCritical().noquote() << check.problem;
    if (check.ramBytes)
        m_vm->ramBytes = *check.ramBytes;
    // The style sheet draws an invalid value in the error colour.
    // The combo box, not its line edit: the style sheet styles an editable combo's line edit
    // through the combo.
    if (m_ram->property("invalid").toBool() == check.valid) {
        m_ram->setProperty("invalid", !check.valid);
        m_ram->style()->unpolish(m_ram);
        m_ram->style()->polish(m_ram);
    }
    m_ramValid = check.valid;
    updateNext();
}

void PageVmSettings::updateNext()
{
    m_next->setEnabled(m_nameValid && m_ramValid);
}

void PageVmSettings::onPageShown()
{
    m_hyperV.load();
    const WizardRules::Generations generations = WizardRules::generationsFor(*m_systemDiskStyle);
    m_generation1->setEnabled(true);
    m_generation2->setEnabled(true);
    m_generation2->setChecked(true);
    m_vm->generation = 2;
    if (generations.checked == 1)
        m_generation1->setChecked(true);
    m_generation1->setEnabled(generations.generation1Enabled);
    m_generation2->setEnabled(generations.generation2Enabled);
}

} // namespace Corvel
