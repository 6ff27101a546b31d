#include "jobs/job_table_header_widget.h"

#include "jobs/job_columns.h"

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
        // Without a minimum of its own a caption never makes its column wider than the rows'.
        label->setMinimumWidth(0);
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
        label->setObjectName("job_table_header_caption");
        layout->addWidget(label);
    }
}

void JobTableHeaderWidget::setRightInset(int pixels)
{
    layout()->setContentsMargins(0, 0, pixels, 0);
}

QStringList JobTableHeaderWidget::captions()
{
    return {"JOB TYPE", "STATUS", "CLIENT", "DEVICE NAME", "RECOVERY POINT", "LOCAL CACHE", "DESCRIPTION", "ACTION"};
}

} // namespace CvJobs
