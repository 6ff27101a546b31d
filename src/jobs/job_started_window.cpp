#include "jobs/job_started_window.h"

#include "jobs/jobs_texts.h"

#include <QLabel>
#include <QPushButton>

namespace CvJobs {

JobStartedWindow::JobStartedWindow(const CorvelWidgets::IconFont& iconFont, QWidget* parent,
                                   CorvelService::JobType::type jobType)
    : Corvel::CustomBarWindow(iconFont, parent)
    , m_heading(new QLabel(Texts::StartedHeading, this))
    , m_closeWindowButton(new QPushButton(Texts::Close, this))
{
    setTitle(Texts::StartedTitle);
    setModal(true);

    m_heading->setObjectName("header");
    if (jobType == CorvelService::JobType::FileRecovery)
        m_heading->setText(Texts::FileRecoveryStarted);
    else if (jobType == CorvelService::JobType::VirtualExport)
        m_heading->setText(Texts::ExportStarted);

    auto* subHeading = new QLabel(Texts::StartedSubHeading, this);
    subHeading->setObjectName("sub_header");
    subHeading->setTextFormat(Qt::RichText);

    auto* description = new QLabel(Texts::StartedDescription, this);
    description->setObjectName("wizard_started_page_desription");
    description->setTextFormat(Qt::RichText);

    m_closeWindowButton->setObjectName("button_primary");
    m_closeWindowButton->setDefault(true);
    connect(m_closeWindowButton, &QPushButton::clicked, this, &QWidget::close);

    addBody({m_heading, subHeading, description}, {m_closeWindowButton}, 12);
}

} // namespace CvJobs
