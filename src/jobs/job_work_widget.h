#pragma once

#include "core/clock.h"
#include "corvel_service_types.h"
#include "journal/job_activity.h"

#include <QWidget>

#include <memory>

class QLabel;
class QProgressBar;
class QVBoxLayout;

namespace CorvelWidgets {
class IconFont;
}

namespace CvJobs {

class JobStatusLabel;

// The STATUS column: state, current activity and its progress; while running, how long the activity
// has taken, about how long it has left and whether it has stood still.
class JobWorkWidget : public QWidget {
    Q_OBJECT
public:
    JobWorkWidget(const CorvelService::JobDescription& job, const CorvelWidgets::IconFont& iconFont,
                  QWidget* parent = nullptr, std::shared_ptr<Corvel::Clock> clock = Corvel::Clock::system());

    ~JobWorkWidget() override;

    // Shows `job`, changing only what differs from what is shown.
    void setJob(const CorvelService::JobDescription& job);
    // Brings the activity clock up to date.
    void tick();
    // Takes over the activity followed by `clock` since the job was first seen, before its row was built.
    void resumeActivity(const CorvelJournal::JobActivity& activity, std::shared_ptr<Corvel::Clock> clock);

    JobStatusLabel* statusLabel() const { return m_statusLabel; }
    QProgressBar* progressBar() const { return m_progressBar; }
    // The height of the lines it always shows (status, one line of work, the bar, the activity),
    // whatever the job is doing: the row never gets lower than that.
    int steadyHeight() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setWork(const CorvelService::CurrentWork& work);
    void trackActivity(const CorvelService::JobDescription& job);
    void showActivity();

    QVBoxLayout* m_layout;
    JobStatusLabel* m_statusLabel;
    QLabel* m_workLabel = nullptr;
    QProgressBar* m_progressBar;
    CorvelService::CurrentWork m_work;
    std::shared_ptr<Corvel::Clock> m_clock;
    CorvelJournal::JobActivity m_activity;
    QLabel* m_activityLabel;
};

} // namespace CvJobs
