#include "wizard/pages/page_bmr_settings.h"

#include "core/palette.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"
#include "wizard/pages/page_parts.h"

#include <QDebug>
#include <QDesktopServices>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

namespace Corvel {

PageBMRSettings::PageBMRSettings(const Settings& settings, const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : RecoveryWizardPage(iconFont, "Bare Metal Restore", parent)
    , m_settings(settings)
    , m_download(new QPushButton("Download"))
{
    auto* header = new QLabel("<b>Recover a Bare Metal System</b>");
    header->setObjectName("sub_header");
    auto* description = new QLabel(
        "Recovery of a Protected System directly onto a Bare Metal<br/>environment is performed using the "
        "OrbexRecovery Tools LiveCD.<br/>Please Download the Recovery Tools LiveCD utility and boot your<br/>Bare "
        "Metal hardware from it to continue");
    description->setObjectName("wizard_started_page_desription");
    description->setTextFormat(Qt::RichText);

    auto* tile = new QFrame;
    tile->setObjectName("bmr_download_tile");
    auto* tileIcon = new QLabel;
    tileIcon->setObjectName("wizard_button_icon_label");
    tileIcon->setPixmap(iconFont.icon(CorvelWidgets::Glyph::RecoveryIso).pixmap(64, 64));
    auto* tileLabel = new QLabel("Bootable Recovery ISO \n");
    tileLabel->setObjectName("wizard_button_caption");
    m_download->setObjectName("button_secondary");
    m_download->setIcon(iconFont.icon(CorvelWidgets::Glyph::Download,
                                      {{"color", Corvel::Palette::Grey}, {"color-active", Corvel::Palette::Grey}}));
    m_download->setAccessibleName("Download");
    auto* tileLayout = new QHBoxLayout(tile);
    tileLayout->setContentsMargins(18, 10, 18, 10);
    tileLayout->setSpacing(16);
    tileLayout->addWidget(tileIcon);
    tileLayout->addWidget(tileLabel, 1);
    tileLayout->addWidget(m_download);
    connect(m_download, &QPushButton::clicked, this, &PageBMRSettings::openIsoAddress);

    auto* close = new QPushButton("Close");
    close->setObjectName("button_primary");
    close->setAccessibleName("Close");
    connect(close, &QPushButton::clicked, this, &RecoveryWizardPage::closeWizard);
    QPushButton* back = PageParts::back(iconFont);
    connectBack(back);

    auto* buttons = PageParts::footer({}, {back, close});
    contentLayout()->addWidget(header);
    contentLayout()->addWidget(description);
    contentLayout()->addWidget(tile);
    contentLayout()->addStretch();
    contentLayout()->addLayout(buttons);
    finishLayout(false);
}

void PageBMRSettings::openIsoAddress()
{
    qInfo() << "Opening BMR URL";
    QDesktopServices::openUrl(QUrl(m_settings.bmrUrl()));
}

} // namespace Corvel
