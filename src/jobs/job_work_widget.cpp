#include "jobs/job_work_widget.h"

#include "jobs/job_status_label.h"

#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

namespace CvJobs {

JobWorkWidget::JobWorkWidget(const CorvelService::JobDescription& job, const CorvelWidgets::IconFont& iconFont,
                             QWidget* parent)
    : QWidget(parent), m_statusLabel(new JobStatusLabel(job.status, iconFont, this)),
      m_progressBar(new QProgressBar(this))
{
    setObjectName("job_item");
    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(0);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_statusLabel, 0, Qt::AlignLeft);

    const auto& work = job.current_work;
    if (!work.text.empty()) {
        m_workLabel = new QLabel(QString::fromStdString(work.text), this);
        m_workLabel->setObjectName("job_item_status");
        m_workLabel->setWordWrap(true);
        m_workLabel->setTextFormat(Qt::PlainText);
        m_workLabel->setToolTip(QString::fromStdString(work.technical_details).toHtmlEscaped());
        layout->addWidget(m_workLabel);
    }

    m_progressBar->setObjectName("job_current_work_progress_bar");
    m_progressBar->setRange(0, 100);
    // The wire carries a signed byte; anything outside 0..100 would leave the bar blank.
    m_progressBar->setValue(qBound(0, static_cast<int>(work.progress), 100));
    m_progressBar->setTextVisible(false);
    m_progressBar->setMinimumWidth(0);
    m_progressBar->setMaximumWidth(1000);
    layout->addWidget(m_progressBar);
}

} // namespace CvJobs
