#include "jobs/job_info_label.h"

#include "jobs/job_details.h"
#include "jobs/jobs_texts.h"
#include "jobs/soft_wrap.h"

#include <QStyle>

namespace CvJobs {

JobInfoLabel::JobInfoLabel(const std::string& value, QWidget* parent, bool recoveryPoint)
    : QLabel(parent)
    , m_recoveryPoint(recoveryPoint)
{
    setWordWrap(true);
    // Values come from the service and from operators; markup in them is shown, not rendered.
    setTextFormat(Qt::PlainText);
    // Selectable for copying; the row's own menu ("Copy details") stays the context menu.
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    setContextMenuPolicy(Qt::NoContextMenu);
    m_value = value;
    setObjectName(value.empty() ? "job_info_stub" : "job_info_label");
    display(value);
}

void JobInfoLabel::display(const std::string& value)
{
    if (value.empty()) {
        setText(QString::fromLatin1(Texts::NoValue));
        setToolTip(QString());
        setAccessibleName(QString());
        return;
    }
    const QString shown =
        boundedText(m_recoveryPoint ? JobDetails::recoveryPoint(value) : QString::fromStdString(value));
    const QString wrapped = softWrap(shown, ChunkLength);
    setText(wrapped);
    // A screen reader gets the value itself, without the breaks put into long words for wrapping.
    setAccessibleName(wrapped == shown ? QString() : shown);
    if (m_recoveryPoint)
        setToolTip(plainToolTip(boundedText(QString::fromStdString(value))));
}

bool JobInfoLabel::setValue(const std::string& value)
{
    if (value == m_value)
        return false;
    const bool styleChanges = value.empty() != m_value.empty();
    m_value = value;
    display(value);
    if (styleChanges) {
        // The style sheet tells the stub from a value by object name, which it reads at polish.
        setObjectName(value.empty() ? "job_info_stub" : "job_info_label");
        style()->unpolish(this);
        style()->polish(this);
    }
    return true;
}

} // namespace CvJobs
