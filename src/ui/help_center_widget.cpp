#include "ui/help_center_widget.h"

#include "core/settings.h"
#include "ui/tool_box_tile_widget.h"
#include "ui/ui_texts.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"
#include "widgets/message_box.h"

#include <QDebug>
#include <QFileInfo>
#include <QGridLayout>
#include <QProcess>

namespace Corvel {

namespace {

QIcon tileIcon(const CorvelWidgets::IconFont& iconFont, const QString& glyph)
{
    return iconFont.icon(glyph, {{"color", "grey"}});
}

} // namespace

HelpCenterWidget::HelpCenterWidget(const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : QWidget(parent)
    , m_analysisTool(new ToolBoxTileWidget(tileIcon(iconFont, CorvelWidgets::Glyph::AnalysisTool),
                                           UiTexts::AnalysisTool, UiTexts::AnalysisToolDescription, UiTexts::LaunchTool,
                                           this))
    , m_installationGuide(new ToolBoxTileWidget(tileIcon(iconFont, CorvelWidgets::Glyph::InstallationGuide),
                                                UiTexts::InstallationGuide, UiTexts::InstallationGuideDescription,
                                                UiTexts::ViewInstallationGuide, this))
    , m_requestHelp(new ToolBoxTileWidget(tileIcon(iconFont, CorvelWidgets::Glyph::RequestHelp), UiTexts::RequestHelp,
                                          UiTexts::RequestHelpDescription, UiTexts::SubmitTicket, this))
{
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(20, 20, 20, 20);
    layout->addWidget(m_analysisTool, 0, 0);
    layout->addWidget(m_installationGuide, 0, 1);
    layout->addWidget(m_requestHelp, 0, 2);
    for (int column = 0; column < 3; ++column)
        layout->setColumnStretch(column, 1);
    layout->setRowStretch(0, 1);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    connect(m_analysisTool, &ToolBoxTileWidget::clicked, this, &HelpCenterWidget::launchAnalysisTool);
    connect(m_installationGuide, &ToolBoxTileWidget::clicked, this, &HelpCenterWidget::installationGuideRequested);
    connect(m_requestHelp, &ToolBoxTileWidget::clicked, this, &HelpCenterWidget::helpRequested);
    // Neither offer is available to operators yet.
    m_installationGuide->hide();
    m_requestHelp->hide();
}

QString HelpCenterWidget::analysisToolPath()
{
    return installDir() + QStringLiteral("/tolvex-analysis-tool.exe");
}

void HelpCenterWidget::launchAnalysisTool()
{
    qInfo() << UiTexts::OpeningAnalysisTool;
    const QString path = analysisToolPath();
    QProcess tool;
    tool.setProgram(path);
    tool.setStandardOutputFile(QProcess::nullDevice());
    tool.setStandardErrorFile(QProcess::nullDevice());
    if (tool.startDetached()) {
        qInfo() << UiTexts::AnalysisToolOpened;
        return;
    }
    qInfo() << UiTexts::AnalysisToolFailed;
    const QString why = !QFileInfo::exists(path)          ? path + " is not there: the tool is not installed."
                        : !QFileInfo(path).isExecutable() ? path + " cannot be run."
                                                          : tool.errorString();
    CorvelWidgets::MessageBox::warning(this, QString(UiTexts::LaunchTool),
                                       QStringLiteral("The Analysis Tool could not be started.\n") + why);
}

} // namespace Corvel
