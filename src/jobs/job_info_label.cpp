#include "jobs/job_info_label.h"

#include "jobs/soft_wrap.h"

#include <QStyle>

namespace CvJobs {

JobInfoLabel::JobInfoLabel(const std::string& value, QWidget* parent)
    : QLabel(parent)
{
    setWordWrap(true);
    // Values come from the service and from operators; markup in them is shown, not rendered.
    setTextFormat(Qt::PlainText);
    m_value = value;
    setObjectName(value.empty() ? "job_info_stub" : "job_info_label");
    setText(value.empty() ? QStringLiteral("none") : softWrap(boundedText(QString::fromStdString(value)), ChunkLength));
}

bool JobInfoLabel::setValue(const std::string& value)
{
    if (value == m_value)
        return false;
    const bool styleChanges = value.empty() != m_value.empty();
    m_value = value;
    setText(value.empty() ? QStringLiteral("none") : softWrap(boundedText(QString::fromStdString(value)), ChunkLength));
    if (styleChanges) {
        // The style sheet tells the stub from a value by object name, which it reads at polish.
        setObjectName(value.empty() ? "job_info_stub" : "job_info_label");
        style()->unpolish(this);
        style()->polish(this);
    }
    return true;
}

} // namespace CvJobs
