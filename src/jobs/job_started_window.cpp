#include "jobs/job_started_window.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace CvJobs {

JobStartedWindow::JobStartedWindow(const CorvelWidgets::IconFont& iconFont, QWidget* parent,
                                   CorvelService::JobType::type jobType)
    : Corvel::CustomBarWindow(iconFont, parent)
    , m_heading(new QLabel("Recovery Started!", this))
    , m_closeWindowButton(new QPushButton("Close", this))
{
    setTitle("Recovery Job");
    setModal(true);

    m_heading->setObjectName("header");
    if (jobType == CorvelService::JobType::FileRecovery)
        m_heading->setText("File Recovery Started!");
    else if (jobType == CorvelService::JobType::VirtualExport)
        m_heading->setText("Export Recovery Started!");

    auto* subHeading = new QLabel("<b>Review Job Status in the Recovery Jobs Table</b>", this);
    subHeading->setObjectName("sub_header");
    subHeading->setTextFormat(Qt::RichText);

    auto* description = new QLabel(
        "Recovery job has been started and is running in the background.<br/>Review status from the main window in "
        "the Recovery Jobs table.<br/>Once the job is in Running state your selected Protected System<br/>volumes "
        "will be mounted as you specified during job creation.<br/><br/>You may close the application, mounted "
        "filesystems will remain<br/>persistent until Recovery Jobs are stopped or deleted.",
        this);
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
