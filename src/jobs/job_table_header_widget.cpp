#include "jobs/job_table_header_widget.h"

#include <QHBoxLayout>
#include <QLabel>

namespace CvJobs {

JobTableHeaderWidget::JobTableHeaderWidget(QWidget* parent) : QWidget(parent)
{
    setObjectName("job_table_header");
    setAttribute(Qt::WA_StyledBackground);
    auto* layout = new QHBoxLayout(this);
    for (const QString& caption : captions()) {
        auto* label = new QLabel(caption, this);
        label->setObjectName("job_table_header_caption");
        layout->addWidget(label, 1);
    }
}

QStringList JobTableHeaderWidget::captions()
{
    return {"JOB TYPE", "STATUS", "CLIENT", "DEVICE NAME", "RECOVERY POINT", "LOCAL CACHE", "DESCRIPTION", "ACTION"};
}

} // namespace CvJobs
