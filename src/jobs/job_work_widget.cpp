#include "jobs/job_work_widget.h"

#include "jobs/job_status_label.h"
#include "jobs/soft_wrap.h"

#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

namespace CvJobs {

JobWorkWidget::JobWorkWidget(const CorvelService::JobDescription& job, const CorvelWidgets::IconFont& iconFont,
                             QWidget* parent)
    : QWidget(parent)
    , m_layout(new QVBoxLayout(this))
    , m_statusLabel(new JobStatusLabel(job.status, iconFont, this))
    , m_progressBar(new QProgressBar(this))
{
    setObjectName("job_item");
    m_layout->setSpacing(0);
    m_layout->setContentsMargins(0, 0, 0, 0);
    // Centred in the row like the other cells, so a bar never seems to belong to the next row.
    m_layout->addStretch(1);
    m_layout->addWidget(m_statusLabel, 0, Qt::AlignLeft);

    m_progressBar->setObjectName("job_current_work_progress_bar");
    m_progressBar->setRange(0, 100);
    m_progressBar->setTextVisible(false);
    m_progressBar->setMinimumWidth(0);
    m_progressBar->setMaximumWidth(1000);
    m_layout->addWidget(m_progressBar);
    m_layout->addStretch(1);
    m_work.progress = -1; // differs from any value, so the bar is set below
    setWork(job.current_work);
}

void JobWorkWidget::setJob(const CorvelService::JobDescription& job)
{
    m_statusLabel->setStatus(job.status);
    setWork(job.current_work);
}

void JobWorkWidget::setWork(const CorvelService::CurrentWork& work)
{
    if (work.text != m_work.text || work.technical_details != m_work.technical_details) {
        if (work.text.empty()) {
            // Deferred: nothing may be inside the label's own code now, but this is the rows' rule.
            if (m_workLabel) {
                m_layout->removeWidget(m_workLabel);
                m_workLabel->hide();
                m_workLabel->deleteLater();
            }
            m_workLabel = nullptr;
        } else {
            if (!m_workLabel) {
                m_workLabel = new QLabel(this);
                m_workLabel->setObjectName("job_item_status");
                m_workLabel->setWordWrap(true);
                m_workLabel->setTextFormat(Qt::PlainText);
                m_layout->insertWidget(2, m_workLabel);
                if (isVisible())
                    m_workLabel->show();
            }
            m_workLabel->setText(boundedText(QString::fromStdString(work.text)));
            m_workLabel->setToolTip(plainToolTip(QString::fromStdString(work.technical_details)));
        }
    }
    if (work.progress != m_work.progress) {
        // The wire carries a signed byte; anything outside 0..100 would leave the bar blank.
        m_progressBar->setValue(qBound(0, static_cast<int>(work.progress), 100));
    }
    m_work = work;
}

} // namespace CvJobs
