#pragma once

#include "corvel_service_types.h"

#include <QWidget>

class QLabel;
class QProgressBar;
class QVBoxLayout;

namespace CorvelWidgets {
class IconFont;
}

namespace CvJobs {

class JobStatusLabel;

// The STATUS column: state, current activity and its progress.
class JobWorkWidget : public QWidget {
    Q_OBJECT
public:
    JobWorkWidget(const CorvelService::JobDescription& job, const CorvelWidgets::IconFont& iconFont,
                  QWidget* parent = nullptr);

    // Shows `job`, changing only what differs from what is shown.
    void setJob(const CorvelService::JobDescription& job);

    JobStatusLabel* statusLabel() const { return m_statusLabel; }
    QLabel* workLabel() const { return m_workLabel; }
    QProgressBar* progressBar() const { return m_progressBar; }

private:
    void setWork(const CorvelService::CurrentWork& work);

    QVBoxLayout* m_layout;
    JobStatusLabel* m_statusLabel;
    QLabel* m_workLabel = nullptr;
    QProgressBar* m_progressBar;
    CorvelService::CurrentWork m_work;
};

} // namespace CvJobs
