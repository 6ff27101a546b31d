#include "jobs/job_action_button.h"

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
        return QStringLiteral("Please wait");
    case CorvelService::JobAction::Start:
        return QStringLiteral("Start");
    case CorvelService::JobAction::Stop:
        return QStringLiteral("Stop");
    case CorvelService::JobAction::Delete:
        return QStringLiteral("Delete Job");
    case CorvelService::JobAction::Cancel:
        return QStringLiteral("Cancel");
    }
    return QStringLiteral("unknown");
}

} // namespace CvJobs
