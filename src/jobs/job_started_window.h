#pragma once

#include "corvel_service_types.h"
#include "widgets/custom_bar_window.h"

class QLabel;

namespace CvJobs {

// Tells the operator, after the wizard, that the new job runs in the background.
class JobStartedWindow : public Corvel::CustomBarWindow {
    Q_OBJECT
public:
    JobStartedWindow(const CorvelWidgets::IconFont& iconFont, QWidget* parent, CorvelService::JobType::type jobType);

private:
    QLabel* m_heading;
    QPushButton* m_closeWindowButton;
};

} // namespace CvJobs
