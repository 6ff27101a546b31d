#include "jobs/job_type_label.h"

#include "jobs/jobs_texts.h"

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
        return QString::fromLatin1(Texts::Virtualization);
    case CorvelService::JobType::FileRecovery:
        return QString::fromLatin1(Texts::FileRecovery);
    case CorvelService::JobType::VirtualExport:
        return QString::fromLatin1(Texts::VirtualExport);
    }
    return QString::fromLatin1(Texts::Unknown);
}

} // namespace CvJobs
