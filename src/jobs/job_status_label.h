#pragma once

#include "corvel_service_types.h"

#include <QPushButton>

namespace CorvelWidgets {
class IconFont;
}

namespace CvJobs {

// The job's state: its name beside an icon-font glyph for "active" or "inactive".
class JobStatusLabel : public QPushButton {
    Q_OBJECT
public:
    static constexpr ushort ActiveGlyph = 0xE953;
    static constexpr ushort InactiveGlyph = 0xE9B5;

    JobStatusLabel(CorvelService::JobStatus::type status, const CorvelWidgets::IconFont& iconFont,
                   QWidget* parent = nullptr);

    CorvelService::JobStatus::type status() const { return m_status; }

    static QString statusText(CorvelService::JobStatus::type status);
    static ushort glyph(CorvelService::JobStatus::type status);

private:
    CorvelService::JobStatus::type m_status;
};

} // namespace CvJobs
