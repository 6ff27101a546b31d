#pragma once

#include "CorvelService.h"
#include "jobs/job_columns.h"
#include "widgets/icon_font.h"

#include <QWidget>

class QLabel;

#include <array>
#include <memory>

namespace CorvelPlatform {
class Desktop;
}
namespace CorvelService {
class ServiceConnection;
}

namespace CvJobs {

class JobActionButtonsWidget;
class JobInfoLabel;
class JobTypeLabel;
class JobWorkWidget;

// One job of the table: its eight cells on the shared columns, updated in place.
class JobRowWidget : public QWidget {
    Q_OBJECT
public:
    enum Column { Type, Status, Client, Device, RecoveryPoint, LocalCache, Description, Action };

    // What setJob changed beyond the cells' contents.
    enum Change { NewButtons = 1 << 8 };

    JobRowWidget(const CorvelService::JobDescription& job, CorvelService::ServiceConnection* connection,
                 const CorvelWidgets::IconFont& iconFont, std::shared_ptr<const JobColumns> columns,
                 QWidget* parent = nullptr);

    // Shows `job` (same id), touching only what differs. Returns the bits (1 << column) of the
    // cells whose width may have changed, and NewButtons when the actions changed.
    int setJob(const CorvelService::JobDescription& job);

    const CorvelService::JobDescription& job() const;
    QWidget* cell(int column) const { return m_cells[column]; }
    JobActionButtonsWidget* actions() const { return m_actions; }

    // The narrowest the cell can be shown, measured when its content last changed.
    int naturalMinimum(int column) const { return m_naturalMinimum[column]; }
    void measure(int changedColumns);

    // The first and last controls of the row that take keyboard focus.
    QWidget* firstFocusable() const;
    QWidget* lastFocusable() const;

protected:
    void moveEvent(QMoveEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void showOutcome(const CorvelService::JobDescription& job);
    // What the hand-off entries open things with: the table's.
    CorvelPlatform::Desktop& desktop() const;

    JobTypeLabel* m_type;
    // Under the job type: what the job produced and the service's substatus.
    QLabel* m_result;
    QLabel* m_substatus;
    JobWorkWidget* m_work;
    std::array<JobInfoLabel*, 5> m_info;
    JobActionButtonsWidget* m_actions;
    std::array<QWidget*, JobColumns::Count> m_cells;
    std::array<int, JobColumns::Count> m_naturalMinimum{};
    // The height every state of the row fits in (two action buttons, a line of current work),
    // so that progress and status never move the rows below.
    int m_floor = 0;
};

} // namespace CvJobs
