#pragma once

#include "CorvelService.h"
#include "core/clock.h"
#include "journal/job_activity.h"
#include "widgets/icon_font.h"

#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class QLabel;
class QSpacerItem;
class QVBoxLayout;

namespace CorvelService {
class ServiceConnection;
}

namespace CvJobs {

class JobColumns;
class JobRowWidget;
class RowGroup;

// The rows of the jobs table. A new list from the service is matched to the rows by job id: rows
// are updated in place, added, removed and moved into the service's order. New rows are built in
// slices from the event loop, and only down to a screenful below the view: the rows further down
// wait, as room kept for them, until scrolling brings them near. Every widget built costs a screen
// reader's bridge messages and every row the list's layout time.
class JobListWidget : public QWidget {
    Q_OBJECT
public:
    // Time given to building new rows at once, and to each later slice.
    static constexpr int FirstSliceMs = 4;
    static constexpr int SliceMs = 4;

    explicit JobListWidget(const CorvelWidgets::IconFont& iconFont, std::shared_ptr<JobColumns> columns = nullptr,
                           QWidget* parent = nullptr);

    // Where the rows' actions call the service; set before the first rows are built.
    void setConnection(CorvelService::ServiceConnection* connection) { m_connection = connection; }

    // What the rows' actions measure their settling time by.
    void setClock(std::shared_ptr<Corvel::Clock> clock);

    // Shows the list unless it equals the one shown; true when it differs. While a row has a dialog
    // open nothing changes until a later call.
    bool setJobs(const std::vector<CorvelService::JobDescription>& jobs);

    // Turns the rows' actions on or off: those in view at once, the others over the next passes of
    // the event loop (each widget changed costs a screen reader's bridge a message).
    void setActionsEnabled(bool enabled);

    // The controls that follow the rows for the keyboard, in order. Rows are made long after the
    // window around them, so without this they would come last of all.
    void setControlsAfter(const QList<QWidget*>& controls);

    // Rows per group when the rows are built from the top (a group takes more when jobs come
    // between its rows). Each group is laid out on its own; tests make them small to cross them.
    void setRowsPerGroup(int rows) { m_rowsPerGroup = std::max(1, rows); }

    // Highlights the job's row for a moment once it is shown (now, or after a later setJobs).
    void revealJob(const std::string& jobId);

    const std::vector<CorvelService::JobDescription>& jobs() const { return m_cache; }
    // Rows built so far, and whether more are on their way now.
    int rowCount() const { return static_cast<int>(m_rows.size()); }
    bool isBuilding() const { return m_sliceTimer.isActive(); }
    JobRowWidget* row(int index) const;
    // The widget of a built row's column, or null.
    QWidget* cell(int row, int column) const;
    std::shared_ptr<const JobColumns> columns() const { return m_columns; }

signals:
    void needsUpdate();
    // A new list differs from the last one: the jobs that are new or changed, and the ids gone.
    // The first list of all comes whole.
    void jobsChanged(const std::vector<CorvelService::JobDescription>& changed, const QStringList& gone);
    // An operator's action on a job went through ("Start", "Stop", "Cancel", "Delete", "Keep VM", "Delete VM").
    void actionTaken(const QString& jobId, const QString& action);
    // A column's minimum width changed.
    void columnsChanged();
    // The row of the job asked for by revealJob, or of the keyboard's focus, is there and laid out at
    // its place: scroll it into view.
    void rowRevealed(QWidget* row);

protected:
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    // How many rows should be built: down to a screenful below the view at `rowHeight` (a row's
    // least height), and down to the job to reveal.
    size_t rowsInReach(int rowHeight) const;
    void buildInReach();
    void sync(int budgetMs);
    // Updates the rows in place when they are the list's jobs in the list's order.
    bool updateSameRows();
    // Brings the rows of m_staleRows up to date: those in view now, the others in slices.
    void applyRowUpdates();
    void continueBuilding();
    // Adds rows for the jobs after the built ones when those are the list's first jobs in order.
    bool appendPendingRows(int budgetMs);
    void showPending();
    void fitHeight();
    // Made in the group it is likely to stay in: moving a row to another parent restyles all of it.
    JobRowWidget* createRow(const CorvelService::JobDescription& job, QWidget* group);
    void placeRows(const std::vector<JobRowWidget*>& ordered, const std::vector<JobRowWidget*>& created);
    RowGroup* addGroup(size_t at);
    // Puts a new row right after `previous` (at the top when null), or after the last row.
    void insertIntoGroups(JobRowWidget* row, JobRowWidget* previous);
    // The last group when it has room, else a new one after it.
    RowGroup* lastGroupWithRoom();
    void dropEmptyGroups();
    // A row's place in this widget (its own geometry is within its group).
    QRect rowGeometry(const JobRowWidget* row) const;
    void updateColumns(int changedColumns, const std::vector<JobRowWidget*>& fresh);
    void stitchTabOrder(size_t index);
    bool anyRowBusy() const;
    void reportChanges(const std::vector<CorvelService::JobDescription>& jobs);
    void trackUnbuilt(const std::vector<CorvelService::JobDescription>& jobs);
    void revealPending();
    void reveal(JobRowWidget* row);
    // Shift+Tab from below reached `row`, the last built one: the focus belongs on the last job's.
    void followFocusToEnd(JobRowWidget* row);
    void focusEndPending();
    void applyActionsEnabled();

    CorvelService::ServiceConnection* m_connection = nullptr;
    std::shared_ptr<Corvel::Clock> m_clock = Corvel::Clock::system();
    CorvelWidgets::IconFont m_iconFont;
    std::shared_ptr<JobColumns> m_columns;
    QVBoxLayout* m_layout;
    QSpacerItem* m_pendingSpace;
    QLabel* m_placeholder;
    std::vector<CorvelService::JobDescription> m_cache;
    std::vector<JobRowWidget*> m_rows;
    // The rows in groups, top to bottom, before the room kept for rows still to be built.
    std::vector<RowGroup*> m_groups;
    int m_rowsPerGroup = 32;
    size_t m_pendingRows = 0;
    QTimer m_sliceTimer;
    bool m_actionsEnabled = true;
    // Rows whose actions may not yet follow m_actionsEnabled.
    std::unordered_set<JobRowWidget*> m_actionsStale;
    QTimer m_actionsTimer;
    // Rows (index, index of their job in m_cache) that do not show their job yet.
    std::vector<std::pair<size_t, size_t>> m_staleRows;
    QTimer m_updateTimer;
    std::string m_revealId;
    // Set while the rows down to the last job are built for the focus, which waits on this control.
    QPointer<QWidget> m_focusHeldAt;
    QList<QPointer<QWidget>> m_controlsAfter;
    // The activity of each job without a row, so that a row built late shows how long it has run,
    // its rate and a stall as if it had been there from the first sight of its job.
    std::unordered_map<std::string, CorvelJournal::JobActivity> m_unbuiltActivity;
};

} // namespace CvJobs
