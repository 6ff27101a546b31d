#pragma once

#include "corvel_service_types.h"

#include "widgets/icon_font.h"

#include <QPushButton>

namespace CvJobs {

// The job's state: its name beside an icon-font glyph for "active" or "inactive".
class JobStatusLabel : public QPushButton {
    Q_OBJECT
public:
    JobStatusLabel(CorvelService::JobStatus::type status, const CorvelWidgets::IconFont& iconFont,
                   QWidget* parent = nullptr);

    CorvelService::JobStatus::type status() const { return m_status; }
    void setStatus(CorvelService::JobStatus::type status);

    static QString statusText(CorvelService::JobStatus::type status);
    // The icon font's name of the status glyph.
    static QString glyph(CorvelService::JobStatus::type status);

private:
    QIcon iconFor(CorvelService::JobStatus::type status) const;

    CorvelService::JobStatus::type m_status;
    CorvelWidgets::IconFont m_iconFont;
};

} // namespace CvJobs
