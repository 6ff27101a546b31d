#include "jobs/job_table_header_widget.h"

#include "jobs/job_columns.h"
#include "jobs/jobs_texts.h"

#include <QLabel>

namespace CvJobs {

JobTableHeaderWidget::JobTableHeaderWidget(std::shared_ptr<const JobColumns> columns, QWidget* parent)
    : QWidget(parent)
{
    setObjectName("job_table_header");
    setAttribute(Qt::WA_StyledBackground);
    auto* layout = new JobRowLayout(columns ? std::move(columns) : std::make_shared<JobColumns>(), this);
    for (const QString& caption : captions()) {
        auto* label = new QLabel(caption, this);
        label->setObjectName("job_table_header_caption");
        // A narrow column takes its caption on two lines rather than cutting it.
        label->setWordWrap(true);
        layout->addWidget(label);
    }
}

QVector<int> JobTableHeaderWidget::captionMinimums()
{
    ensurePolished();
    QVector<int> minimums;
    for (QLabel* label : findChildren<QLabel*>(QString(), Qt::FindDirectChildrenOnly))
        minimums.append(label->minimumSizeHint().width());
    return minimums;
}

void JobTableHeaderWidget::setRightInset(int pixels)
{
    layout()->setContentsMargins(0, 0, pixels, 0);
}

QStringList JobTableHeaderWidget::captions()
{
    QStringList captions;
    for (const char* caption : Texts::Captions)
        captions << QString::fromLatin1(caption);
    return captions;
}

} // namespace CvJobs
