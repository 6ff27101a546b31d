#include "jobs/job_status_label.h"

#include "widgets/glyph.h"
#include "widgets/icon_font.h"

namespace CvJobs {

JobStatusLabel::JobStatusLabel(CorvelService::JobStatus::type status, const CorvelWidgets::IconFont& iconFont,
                               QWidget* parent)
    : QPushButton(statusText(status), parent)
    , m_status(status)
    , m_iconFont(iconFont)
{
    setObjectName("job_icon_label");
    setFlat(true);
    setFocusPolicy(Qt::NoFocus);
    setIcon(iconFor(status));
}

void JobStatusLabel::setStatus(CorvelService::JobStatus::type status)
{
    if (status == m_status)
        return;
    if (glyph(status) != glyph(m_status))
        setIcon(iconFor(status));
    m_status = status;
    setText(statusText(status));
}

QIcon JobStatusLabel::iconFor(CorvelService::JobStatus::type status) const
{
    return m_iconFont.icon(glyph(status), CorvelWidgets::IconFont::accent());
}

QString JobStatusLabel::statusText(CorvelService::JobStatus::type status)
{
    const auto& names = CorvelService::_JobStatus_VALUES_TO_NAMES;
    const auto it = names.find(static_cast<int>(status));
    return it != names.end() ? QString::fromLatin1(it->second) : QString::number(static_cast<int>(status));
}

QString JobStatusLabel::glyph(CorvelService::JobStatus::type status)
{
    switch (status) {
    case CorvelService::JobStatus::Created:
    case CorvelService::JobStatus::Initializing:
    case CorvelService::JobStatus::Starting:
    case CorvelService::JobStatus::Running:
        return CorvelWidgets::Glyph::JobRunning;
    default:
        return CorvelWidgets::Glyph::JobStopped;
    }
}

} // namespace CvJobs
