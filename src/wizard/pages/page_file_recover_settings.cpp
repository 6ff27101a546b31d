#include "wizard/pages/page_file_recover_settings.h"

#include "platform/platform.h"
#include "widgets/cv_dir_selector.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"
#include "widgets/styled_combobox.h"
#include "wizard/pages/page_parts.h"
#include "wizard/wizard_rules.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace Corvel {

using CorvelService::JobType;

namespace {

struct Texts {
    const char* header;
    const char* description;
    const char* driveButton;
    const char* start;
};

const Texts VirtualizationTexts = {
    "<b>How Do You Want to Mount the Virtual Disk Image(s)?</b>",
    "Specify how the recovery Volumes will be presented to the<br/>Hyper-V Host Operating System",
    "Mount to Drive Letter:", "Start Virtual Machine"};
const Texts FileRecoveryTexts = {
    "<b>How Do You Want to Mount the Recovered Volumes?</b>",
    "File recovery will instantly mount each volume in the recovery<br/>point as a virtual volume on this system.",
    "Mount to Drive Letters starting with:", "Start File Recovery"};
const Texts ExportTexts = {
    "<b>How Do You Want to Mount the Virtual Disk Image(s)?</b>",
    "Virtual Disk Export will instantly export the Protected System as virtual disk<br/>image files and make them "
    "accessible to you mounted them as Windows<br/>volume or inside an existing filesystem folder.",
    "Mount to Drive Letter:", "Start Virtual Export"};

} // namespace

PageFileRecoverSettings::PageFileRecoverSettings(QString* mountPoint, const std::optional<JobType::type>* recoveryType,
                                                 const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : RecoveryWizardPage(iconFont, "Recovery Settings", parent)
    , m_mountPoint(mountPoint)
    , m_recoveryType(recoveryType)
    , m_header(new QLabel(FileRecoveryTexts.header))
    , m_description(new QLabel(FileRecoveryTexts.description))
    , m_driveButton(new QRadioButton(FileRecoveryTexts.driveButton))
    , m_driveCombo(new CorvelWidgets::StyledCombobox(nullptr, false))
    , m_pathButton(new QRadioButton("Mount to Filesystem Path"))
    , m_dirSelector(new CorvelWidgets::CvDirSelector("C:\\", iconFont, false))
    , m_start(new QPushButton("Start SomeSortOf Recovery"))
{
    m_header->setObjectName("sub_header");
    m_description->setObjectName("wizard_page_desription");
    m_driveButton->setObjectName("drive_button");
    m_driveButton->setChecked(true);
    m_driveCombo->setObjectName("drive_letter_combo");
    m_driveCombo->setAccessibleName("Drive letter");
    m_pathButton->setObjectName("path_button");
    m_dirSelector->setObjectName("dir_selector");
    m_dirSelector->setEnabled(false);
    m_start->setObjectName("button_primary");
    m_start->setIcon(
        iconFont.icon(CorvelWidgets::Glyph::StartRecovery, {{"color", "white"}, {"color-active", "white"}}));

    connect(m_driveCombo, &QComboBox::currentTextChanged, this, [this](const QString& text) { *m_mountPoint = text; });
    m_driveCombo->addItems(WizardRules::freeDriveLetters(CorvelPlatform::logicalDrivesMask()));
    connect(m_dirSelector, &CorvelWidgets::CvDirSelector::dirChanged, this,
            [this](const QString& path) { *m_mountPoint = path; });
    connect(m_driveButton, &QRadioButton::toggled, this, [this](bool checked) {
        m_driveCombo->setEnabled(checked);
        m_dirSelector->setEnabled(!checked);
    });
    QPushButton* back = PageParts::back(iconFont);
    connectBack(back);
    connect(m_start, &QPushButton::clicked, this, &RecoveryWizardPage::completeWizard);

    auto* group = new QGroupBox;
    auto* groupLayout = new QVBoxLayout(group);
    groupLayout->addWidget(m_driveButton);
    groupLayout->addWidget(m_driveCombo);
    groupLayout->addWidget(m_pathButton);
    groupLayout->addWidget(m_dirSelector);

    auto* buttons = PageParts::footer({}, {back, m_start});
    QVBoxLayout* layout = contentLayout();
    layout->setSpacing(0);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(m_header);
    layout->addWidget(m_description);
    layout->addWidget(group);
    layout->addStretch();
    layout->addLayout(buttons);
    finishLayout(false);
}

void PageFileRecoverSettings::onPageShown()
{
    // A wizard opened again after a refused job shows the mount point chosen before.
    if (m_driveCombo->findText(*m_mountPoint) >= 0) {
        m_driveButton->setChecked(true);
        m_driveCombo->setCurrentText(*m_mountPoint);
    } else if (!m_mountPoint->isEmpty()) {
        m_pathButton->setChecked(true);
        m_dirSelector->setPath(*m_mountPoint);
    }
    if (!m_recoveryType->has_value())
        return;
    const Texts* texts = nullptr;
    switch (**m_recoveryType) {
    case JobType::Virtualization:
        texts = &VirtualizationTexts;
        break;
    case JobType::FileRecovery:
        texts = &FileRecoveryTexts;
        break;
    case JobType::VirtualExport:
        texts = &ExportTexts;
        break;
    }
    if (!texts)
        return;
    m_header->setText(texts->header);
    m_description->setText(texts->description);
    m_driveButton->setText(texts->driveButton);
    m_start->setText(texts->start);
    m_start->setAccessibleName(texts->start);
    for (QWidget* widget : {static_cast<QWidget*>(m_header), static_cast<QWidget*>(m_description),
                            static_cast<QWidget*>(m_driveButton), static_cast<QWidget*>(m_start)})
        widget->repaint();
}

} // namespace Corvel
