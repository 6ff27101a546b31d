#pragma once

#include "corvel_service_types.h"

#include <QWidget>

class QLabel;
class QProgressBar;

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

    JobStatusLabel* statusLabel() const { return m_statusLabel; }
    QLabel* workLabel() const { return m_workLabel; }
    QProgressBar* progressBar() const { return m_progressBar; }

private:
    JobStatusLabel* m_statusLabel;
    QLabel* m_workLabel = nullptr;
    QProgressBar* m_progressBar;
};

} // namespace CvJobs
