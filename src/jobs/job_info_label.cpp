#include "jobs/job_info_label.h"

#include "jobs/soft_wrap.h"

namespace CvJobs {

JobInfoLabel::JobInfoLabel(const std::string& value, QWidget* parent) : QLabel(parent)
{
    setWordWrap(true);
    // Values come from the service and from operators; markup in them is shown, not rendered.
    setTextFormat(Qt::PlainText);
    if (value.empty()) {
        setObjectName("job_info_stub");
        setText(QStringLiteral("none"));
    } else {
        setObjectName("job_info_label");
        setText(softWrap(QString::fromStdString(value), ChunkLength));
    }
}

} // namespace CvJobs
