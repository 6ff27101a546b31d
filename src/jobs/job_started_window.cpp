#include "jobs/job_started_window.h"

#include "jobs/jobs_texts.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

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

    auto* content = new QVBoxLayout;
    content->setContentsMargins(30, 20, 30, 24);
    content->setSpacing(12);
    content->addWidget(m_heading);
    content->addWidget(subHeading);
    content->addWidget(description);
    content->addSpacing(6);
    content->addWidget(m_closeWindowButton, 0, Qt::AlignRight);
    contentLayout()->addLayout(content);
}

} // namespace CvJobs
