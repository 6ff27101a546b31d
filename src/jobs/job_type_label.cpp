#include "jobs/job_type_label.h"

namespace CvJobs {

JobTypeLabel::JobTypeLabel(CorvelService::JobType::type type, QWidget* parent)
    : QLabel(typeText(type), parent)
{
    setObjectName("job_item_type");
}

void JobTypeLabel::setType(CorvelService::JobType::type type)
{
    const QString text = typeText(type);
    if (text != this->text())
        setText(text);
}

QString JobTypeLabel::typeText(CorvelService::JobType::type type)
{
    switch (type) {
    case CorvelService::JobType::Virtualization:
        return QStringLiteral("Virtualization");
    case CorvelService::JobType::FileRecovery:
        return QStringLiteral("File Recovery");
    case CorvelService::JobType::VirtualExport:
        return QStringLiteral("Virtual Export");
    }
    return QStringLiteral("unknown");
}

} // namespace CvJobs
