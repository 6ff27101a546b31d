#include "jobs/job_action_button.h"

#include "jobs/jobs_texts.h"

namespace CvJobs {

JobActionButton::JobActionButton(CorvelService::JobAction::type action, QWidget* parent)
    : QPushButton(actionText(action), parent)
    , m_action(action)
{
    setObjectName("job_action_button");
    setCursor(Qt::PointingHandCursor);
}

QString JobActionButton::actionText(int action)
{
    switch (action) {
    case CorvelService::JobAction::None:
        return QString::fromLatin1(Texts::PleaseWait);
    case CorvelService::JobAction::Start:
        return QString::fromLatin1(Texts::Start);
    case CorvelService::JobAction::Stop:
        return QString::fromLatin1(Texts::Stop);
    case CorvelService::JobAction::Delete:
        return QString::fromLatin1(Texts::DeleteJob);
    case CorvelService::JobAction::Cancel:
        return QString::fromLatin1(Texts::Cancel);
    }
    return QString::fromLatin1(Texts::Unknown);
}

} // namespace CvJobs
