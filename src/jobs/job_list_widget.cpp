#include "jobs/job_list_widget.h"

#include "jobs/job_action_button.h"
#include "jobs/job_action_buttons_widget.h"
#include "jobs/job_columns.h"
#include "jobs/job_row_widget.h"
#include "jobs/job_work_widget.h"
#include "jobs/jobs_texts.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QMetaMethod>
#include <QMoveEvent>
#include <QSpacerItem>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace CvJobs {

namespace {

// Rows built at once however long each takes, so the first screen is never empty. One: with a
// screen reader attached a row costs several milliseconds, and the next come in the next slices.
constexpr int MinRowsAtOnce = 1;
constexpr int AllColumns = (1 << JobColumns::Count) - 1;

} // namespace

// Rows in groups: a change lays out one group and the column of groups, not every row of a long
// list. A group tells its rows when it moves, as a row does when it moves by itself, so that a
// press on a row that moved under the pointer is still recognised.
class RowGroup : public QWidget {
public:
    explicit RowGroup(QWidget* parent)
        : QWidget(parent)
        , m_rows(new QVBoxLayout(this))
    {
        setObjectName("job_row_group");
        m_rows->setContentsMargins(0, 0, 0, 0);
        m_rows->setSpacing(0);
    }

    QVBoxLayout* rows() const { return m_rows; }

    // The rows changed: the list's layout must ask this group for its height again at once, not
    // after this group's own layout has run at its old height.
    void rowsChanged() { updateGeometry(); }

protected:
    void moveEvent(QMoveEvent* event) override
    {
        QWidget::moveEvent(event);
        if (event->oldPos() == event->pos())
            return;
        for (int i = 0; i < m_rows->count(); ++i)
            if (auto* row = static_cast<JobRowWidget*>(m_rows->itemAt(i)->widget()))
                row->actions()->markMoved();
    }

private:
    QVBoxLayout* m_rows;
};

JobListWidget::JobListWidget(const CorvelWidgets::IconFont& iconFont, std::shared_ptr<JobColumns> columns,
                             QWidget* parent)
    : QWidget(parent)
    , m_iconFont(iconFont)
    , m_columns(columns ? std::move(columns) : std::make_shared<JobColumns>())
    , m_layout(new QVBoxLayout(this))
    , m_pendingSpace(new QSpacerItem(0, 0, QSizePolicy::Minimum, QSizePolicy::Fixed))
    , m_placeholder(new QLabel(Texts::NoActiveJobs, this))
{
    setObjectName("job_list");
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
    // Groups of rows sit in this layout, before the room kept for rows still to be built. A group
    // asks for its new height as soon as its rows change, so this layout never places it at an
    // outdated one; a change lays out one group and the column of groups, not every row.
    m_layout->addItem(m_pendingSpace);
    m_layout->addWidget(m_placeholder, 0, Qt::AlignHCenter | Qt::AlignTop);
    m_layout->addStretch(1);
    m_placeholder->setObjectName("no_job_item");
    m_placeholder->setAlignment(Qt::AlignCenter);

    m_sliceTimer.setSingleShot(true);
    m_sliceTimer.setInterval(0);
    connect(&m_sliceTimer, &QTimer::timeout, this, &JobListWidget::continueBuilding);
    m_actionsTimer.setSingleShot(true);
    m_actionsTimer.setInterval(0);
    connect(&m_actionsTimer, &QTimer::timeout, this, &JobListWidget::applyActionsEnabled);
    m_updateTimer.setSingleShot(true);
    m_updateTimer.setInterval(0);
    connect(&m_updateTimer, &QTimer::timeout, this, [this] {
        // A row's dialog runs its own event loop; its row stays as it is until it closes.
        if (anyRowBusy())
            m_updateTimer.start(100);
        else
            applyRowUpdates();
    });
}

void JobListWidget::setActionsEnabled(bool enabled)
{
    if (enabled == m_actionsEnabled)
        return;
    m_actionsEnabled = enabled;
    m_actionsStale.insert(m_rows.begin(), m_rows.end());
    applyActionsEnabled();
}

void JobListWidget::applyActionsEnabled()
{
    constexpr int ActionsSliceMs = 4;
    QElapsedTimer clock;
    clock.start();
    const QRect inView = visibleRegion().boundingRect();
    // Rows in view first, whatever it takes; then the others while the slice lasts.
    for (bool visibleOnly : {true, false}) {
        for (JobRowWidget* row : m_rows) {
            if (!m_actionsStale.count(row))
                continue;
            if (visibleOnly ? !rowGeometry(row).intersects(inView) : clock.elapsed() >= ActionsSliceMs)
                continue;
            row->actions()->setEnabled(m_actionsEnabled);
            m_actionsStale.erase(row);
        }
    }
    if (!m_actionsStale.empty())
        m_actionsTimer.start();
}

void JobListWidget::setClock(std::shared_ptr<Corvel::Clock> clock)
{
    m_clock = std::move(clock);
    for (JobRowWidget* row : m_rows)
        row->actions()->setClock(m_clock);
}

bool JobListWidget::setJobs(const std::vector<CorvelService::JobDescription>& jobs)
{
    if (jobs == m_cache)
        return false;
    // A row's dialog runs its own event loop; the row and its buttons must stay as they are.
    if (anyRowBusy())
        return false;
    if (isSignalConnected(QMetaMethod::fromSignal(&JobListWidget::jobsChanged)))
        reportChanges(jobs);
    trackUnbuilt(jobs);
    // Copied only when it differs: most polls bring the list unchanged.
    m_cache = jobs;
    if (!updateSameRows())
        sync(FirstSliceMs);
    revealPending();
    focusEndPending();
    return true;
}

void JobListWidget::reportChanges(const std::vector<CorvelService::JobDescription>& jobs)
{
    std::unordered_map<std::string, const CorvelService::JobDescription*> before;
    before.reserve(m_cache.size());
    for (const auto& job : m_cache)
        before.emplace(job.id, &job);
    std::vector<CorvelService::JobDescription> changed;
    for (const auto& job : jobs) {
        auto found = before.find(job.id);
        if (found == before.end()) {
            changed.push_back(job);
            continue;
        }
        if (!(*found->second == job))
            changed.push_back(job);
        before.erase(found);
    }
    QStringList gone;
    for (const auto& entry : before)
        gone << QString::fromStdString(entry.first);
    emit jobsChanged(changed, gone);
}

void JobListWidget::trackUnbuilt(const std::vector<CorvelService::JobDescription>& jobs)
{
    // Most lists fit the rows already built: then there is nothing to follow, and nothing to build.
    const auto listed = std::count_if(jobs.begin(), jobs.end(), [](const CorvelService::JobDescription& job) {
        return job.status != CorvelService::JobStatus::Deleted;
    });
    if (static_cast<size_t>(listed) <= m_rows.size()) {
        m_unbuiltActivity.clear();
        return;
    }
    std::unordered_set<std::string> built;
    built.reserve(m_rows.size());
    for (JobRowWidget* row : m_rows)
        built.insert(row->job().id);
    const qint64 now = m_clock->nowMs();
    std::unordered_map<std::string, CorvelJournal::JobActivity> unbuilt;
    for (const auto& job : jobs) {
        // Only a running job has an activity to carry over.
        if (built.count(job.id) || job.status != CorvelService::JobStatus::Running)
            continue;
        auto found = m_unbuiltActivity.find(job.id);
        auto& activity = unbuilt[job.id];
        if (found != m_unbuiltActivity.end())
            activity = std::move(found->second);
        activity.update(true, QString::fromStdString(job.current_work.text), job.current_work.progress, now);
    }
    m_unbuiltActivity = std::move(unbuilt);
}

void JobListWidget::setControlsAfter(const QList<QWidget*>& controls)
{
    m_controlsAfter.clear();
    for (QWidget* control : controls)
        m_controlsAfter.append(control);
    for (int i = 1; i < controls.size(); ++i)
        QWidget::setTabOrder(controls[i - 1], controls[i]);
    if (!m_rows.empty())
        stitchTabOrder(m_rows.size() - 1);
}

void JobListWidget::followFocusToEnd(JobRowWidget* row)
{
    // Within the list Shift+Tab comes from the next row; onto the last built row's last control it
    // can only have come from below the table, where a fresh build would lead to the last job.
    QWidget* focused = QApplication::focusWidget();
    if (m_pendingRows == 0 || m_rows.empty() || row != m_rows.back() || focused != row->lastFocusable())
        return;
    m_focusHeldAt = focused;
    reveal(row);
    buildInReach();
}

void JobListWidget::focusEndPending()
{
    if (!m_focusHeldAt)
        return;
    // Moved on meanwhile: the operator's choice stands.
    if (QApplication::focusWidget() != m_focusHeldAt) {
        m_focusHeldAt.clear();
        return;
    }
    if (m_pendingRows > 0)
        return;
    m_focusHeldAt.clear();
    if (m_rows.empty())
        return;
    JobRowWidget* last = m_rows.back();
    if (QWidget* control = last->lastFocusable())
        control->setFocus(Qt::BacktabFocusReason);
    reveal(last);
}

void JobListWidget::reveal(JobRowWidget* row)
{
    // Laid out now, so that the row's place is known: this list places the groups, the group its rows.
    m_layout->activate();
    if (QWidget* group = row->parentWidget(); group != this)
        static_cast<RowGroup*>(group)->rows()->activate();
    emit rowRevealed(row);
}

void JobListWidget::revealJob(const std::string& jobId)
{
    m_revealId = jobId;
    revealPending();
    buildInReach();
}

void JobListWidget::revealPending()
{
    if (m_revealId.empty())
        return;
    const auto found =
        std::find_if(m_rows.begin(), m_rows.end(), [this](JobRowWidget* row) { return row->job().id == m_revealId; });
    if (found == m_rows.end())
        return;
    m_revealId.clear();
    JobRowWidget* row = *found;
    row->setProperty("highlighted", true);
    row->style()->unpolish(row);
    row->style()->polish(row);
    constexpr int HighlightMs = 2000;
    QTimer::singleShot(HighlightMs, row, [row] {
        row->setProperty("highlighted", false);
        row->style()->unpolish(row);
        row->style()->polish(row);
    });
    reveal(row);
}

bool JobListWidget::updateSameRows()
{
    std::vector<std::pair<size_t, size_t>> stale;
    size_t index = 0;
    for (size_t at = 0; at < m_cache.size(); ++at) {
        const auto& job = m_cache[at];
        if (job.status == CorvelService::JobStatus::Deleted)
            continue;
        if (index < m_rows.size()) {
            if (m_rows[index]->job().id != job.id)
                return false;
            if (!(m_rows[index]->job() == job))
                stale.emplace_back(index, at);
        }
        ++index;
    }
    // The first rows of all are built by sync, against its budget.
    if (index < m_rows.size() || (m_rows.empty() && index > 0))
        return false;
    m_staleRows = std::move(stale);
    applyRowUpdates();
    // Jobs after the built rows came or went: only the room kept for them changes.
    if (index - m_rows.size() != m_pendingRows) {
        m_pendingRows = index - m_rows.size();
        showPending();
        fitHeight();
    }
    return true;
}

void JobListWidget::applyRowUpdates()
{
    constexpr int UpdateSliceMs = 6;
    QElapsedTimer clock;
    clock.start();
    const QRect inView = visibleRegion().boundingRect();
    int changedColumns = 0;
    std::vector<size_t> newButtons;
    std::vector<std::pair<size_t, size_t>> later;
    // Rows in view at once; the others while the slice lasts, the rest on the next pass.
    for (bool visibleOnly : {true, false}) {
        for (const auto& entry : m_staleRows) {
            JobRowWidget* row = m_rows[entry.first];
            if (row->job() == m_cache[entry.second])
                continue;
            if (visibleOnly ? !rowGeometry(row).intersects(inView) : clock.elapsed() >= UpdateSliceMs) {
                if (!visibleOnly)
                    later.push_back(entry);
                continue;
            }
            const int changed = row->setJob(m_cache[entry.second]);
            if (!changed)
                continue;
            row->measure(changed);
            changedColumns |= changed & AllColumns;
            if (changed & JobRowWidget::NewButtons)
                newButtons.push_back(entry.first);
        }
    }
    m_staleRows = std::move(later);
    updateColumns(changedColumns, {});
    std::sort(newButtons.begin(), newButtons.end());
    for (size_t i : newButtons)
        stitchTabOrder(i);
    if (changedColumns)
        fitHeight();
    if (!m_staleRows.empty())
        m_updateTimer.start();
}

JobRowWidget* JobListWidget::row(int index) const
{
    return index >= 0 && index < rowCount() ? m_rows[index] : nullptr;
}

QWidget* JobListWidget::cell(int row, int column) const
{
    JobRowWidget* shown = this->row(row);
    return shown && column >= 0 && column < JobColumns::Count ? shown->cell(column) : nullptr;
}

void JobListWidget::sync(int budgetMs)
{
    QElapsedTimer clock;
    clock.start();
    m_staleRows.clear();

    // Rows by job id, the first row of an id first should the service ever repeat one.
    std::unordered_map<std::string, std::vector<JobRowWidget*>> available;
    available.reserve(m_rows.size());
    for (auto it = m_rows.rbegin(); it != m_rows.rend(); ++it)
        available[(*it)->job().id].push_back(*it);

    // Rows are built at least down to the last job that keeps its row, so none between them is missing.
    size_t reach = 0;
    size_t position = 0;
    for (const auto& job : m_cache) {
        if (job.status == CorvelService::JobStatus::Deleted)
            continue;
        ++position;
        if (available.count(job.id))
            reach = position;
    }
    int rowHeight = m_rows.empty() ? 0 : m_rows.front()->minimumHeight();
    reach = std::max(reach, rowsInReach(rowHeight));

    std::vector<JobRowWidget*> ordered, created;
    ordered.reserve(m_cache.size());
    int changedColumns = 0;
    std::vector<JobRowWidget*> newButtons;
    size_t pending = 0;
    // A job left without a row before rows that are kept: filled by the next slice.
    bool gap = false;
    for (const auto& job : m_cache) {
        if (job.status == CorvelService::JobStatus::Deleted)
            continue;
        auto found = available.find(job.id);
        if (found != available.end() && !found->second.empty()) {
            JobRowWidget* row = found->second.back();
            found->second.pop_back();
            const int changed = row->setJob(job);
            if (changed) {
                row->measure(changed);
                changedColumns |= changed & AllColumns;
                if (changed & JobRowWidget::NewButtons)
                    newButtons.push_back(row);
            }
            ordered.push_back(row);
            gap |= pending > 0;
        } else if (pending == 0 && ordered.size() < reach &&
                   (created.size() < MinRowsAtOnce || clock.elapsed() < budgetMs)) {
            JobRowWidget* row = createRow(job, lastGroupWithRoom());
            // Measured here, so the time it takes counts against the slice.
            row->measure(AllColumns);
            created.push_back(row);
            ordered.push_back(row);
            if (rowHeight == 0) {
                rowHeight = row->minimumHeight();
                reach = std::max(reach, rowsInReach(rowHeight));
            }
        } else {
            ++pending;
        }
    }
    std::vector<JobRowWidget*> removed;
    for (auto& entry : available)
        removed.insert(removed.end(), entry.second.begin(), entry.second.end());
    for (JobRowWidget* row : removed) {
        // Hidden with the focus, the row would pass it to the next job's button.
        if (row->isAncestorOf(QApplication::focusWidget()))
            setFocus(Qt::OtherFocusReason);
        if (QWidget* parent = row->parentWidget(); parent != this) {
            auto* group = static_cast<RowGroup*>(parent);
            group->rows()->removeWidget(row);
            group->rowsChanged();
        }
        m_actionsStale.erase(row);
        row->hide();
        // Deferred: the row's own button may be what asked for this refresh.
        row->deleteLater();
    }

    placeRows(ordered, created);
    dropEmptyGroups();
    updateColumns(changedColumns | (created.empty() ? 0 : AllColumns) | (removed.empty() ? 0 : AllColumns), created);

    // Keyboard order follows the rows, as if they had been built afresh in this order.
    std::unordered_set<JobRowWidget*> restitch(created.begin(), created.end());
    restitch.insert(newButtons.begin(), newButtons.end());
    if (!restitch.empty()) {
        for (size_t i = 0; i < m_rows.size(); ++i)
            if (restitch.count(m_rows[i]))
                stitchTabOrder(i);
    }

    const size_t previousPending = m_pendingRows;
    m_pendingRows = pending;
    if (pending > 0 || previousPending > 0)
        showPending();
    if (gap)
        m_sliceTimer.start();
    m_placeholder->setVisible(m_rows.empty() && pending == 0);
    fitHeight();
}

void JobListWidget::fitHeight()
{
    // Left to the event loop, this layout would first run at the old height and squeeze every row
    // (laying out all their text) before the scroll area grows this widget and they grow back.
    if (!isVisible() || !m_layout->hasHeightForWidth())
        return;
    const int needed = m_layout->totalHeightForWidth(width());
    if (needed > height())
        resize(width(), needed);
}

void JobListWidget::showPending()
{
    // Keeps the scroll range close to what the whole list will need.
    const int rowHeight = m_rows.empty() ? 0 : m_rows.front()->sizeHint().height();
    m_pendingSpace->changeSize(0, static_cast<int>(m_pendingRows) * rowHeight, QSizePolicy::Minimum,
                               QSizePolicy::Fixed);
    m_layout->invalidate();
    buildInReach();
}

size_t JobListWidget::rowsInReach(int rowHeight) const
{
    const QWidget* viewport = parentWidget();
    const int screen = viewport ? viewport->height() : height();
    // The list moves up in its viewport as it scrolls.
    const int below = screen - y() + screen;
    size_t reach = rowHeight > 0 ? static_cast<size_t>(below / rowHeight) + 1 : MinRowsAtOnce;
    if (m_focusHeldAt)
        reach = std::max(reach, m_rows.size() + m_pendingRows);
    if (!m_revealId.empty()) {
        size_t position = 0;
        for (const auto& job : m_cache) {
            if (job.status == CorvelService::JobStatus::Deleted)
                continue;
            ++position;
            if (job.id == m_revealId)
                reach = std::max(reach, position);
        }
    }
    return reach;
}

void JobListWidget::buildInReach()
{
    if (m_pendingRows == 0 || m_sliceTimer.isActive())
        return;
    if (m_rows.size() < rowsInReach(m_rows.empty() ? 0 : m_rows.front()->minimumHeight()))
        m_sliceTimer.start();
}

void JobListWidget::moveEvent(QMoveEvent* event)
{
    QWidget::moveEvent(event);
    buildInReach();
}

void JobListWidget::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    buildInReach();
}

void JobListWidget::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    buildInReach();
}

bool JobListWidget::appendPendingRows(int budgetMs)
{
    QElapsedTimer clock;
    clock.start();
    auto next = m_cache.cbegin();
    for (JobRowWidget* row : m_rows) {
        while (next != m_cache.cend() && next->status == CorvelService::JobStatus::Deleted)
            ++next;
        if (next == m_cache.cend() || next->id != row->job().id)
            return false;
        ++next;
    }
    const size_t reach = rowsInReach(m_rows.empty() ? 0 : m_rows.front()->minimumHeight());
    if (m_rows.size() >= reach)
        return true;
    std::vector<JobRowWidget*> created;
    for (; next != m_cache.cend() && m_rows.size() < reach && (created.empty() || clock.elapsed() < budgetMs); ++next) {
        if (next->status == CorvelService::JobStatus::Deleted)
            continue;
        RowGroup* group = lastGroupWithRoom();
        JobRowWidget* row = createRow(*next, group);
        row->measure(AllColumns);
        group->rows()->addWidget(row);
        group->rowsChanged();
        m_rows.push_back(row);
        created.push_back(row);
        row->show();
        stitchTabOrder(m_rows.size() - 1);
    }
    size_t pending = 0;
    for (; next != m_cache.cend(); ++next)
        pending += next->status != CorvelService::JobStatus::Deleted;
    m_pendingRows = pending;
    updateColumns(AllColumns, created);
    showPending();
    fitHeight();
    return true;
}

void JobListWidget::continueBuilding()
{
    if (m_pendingRows == 0)
        return;
    if (anyRowBusy()) {
        m_sliceTimer.start(100);
        return;
    }
    if (!appendPendingRows(SliceMs))
        sync(SliceMs);
    revealPending();
    focusEndPending();
}

JobRowWidget* JobListWidget::createRow(const CorvelService::JobDescription& job, QWidget* group)
{
    auto* row = new JobRowWidget(job, m_connection, m_iconFont, m_columns, group);
    const auto activity = m_unbuiltActivity.find(job.id);
    if (activity != m_unbuiltActivity.end()) {
        static_cast<JobWorkWidget*>(row->cell(JobRowWidget::Status))->resumeActivity(activity->second, m_clock);
        m_unbuiltActivity.erase(activity);
    }
    if (!m_actionsEnabled)
        row->actions()->setEnabled(false);
    row->actions()->setClock(m_clock);
    connect(row->actions(), &JobActionButtonsWidget::needsUpdate, this, &JobListWidget::needsUpdate);
    connect(row->actions(), &JobActionButtonsWidget::actionTaken, this, &JobListWidget::actionTaken);
    connect(row->actions(), &JobActionButtonsWidget::focusedBackward, this, [this, row] { followFocusToEnd(row); });
    return row;
}

void JobListWidget::placeRows(const std::vector<JobRowWidget*>& ordered, const std::vector<JobRowWidget*>& created)
{
    if (ordered == m_rows)
        return;
    // Usually a few rows came or went and the others kept their order: insert the new ones where
    // they belong. Otherwise lay the rows out again in the new order.
    std::unordered_set<JobRowWidget*> fresh(created.begin(), created.end());
    std::vector<JobRowWidget*> kept;
    kept.reserve(ordered.size());
    for (JobRowWidget* row : ordered)
        if (!fresh.count(row))
            kept.push_back(row);
    std::vector<JobRowWidget*> before;
    before.reserve(m_rows.size());
    std::unordered_set<JobRowWidget*> keptSet(kept.begin(), kept.end());
    for (JobRowWidget* row : m_rows)
        if (keptSet.count(row))
            before.push_back(row);

    // New rows, and rows that changed group (which hides them).
    std::vector<JobRowWidget*> shown = created;
    if (kept == before) {
        for (size_t i = 0; i < ordered.size(); ++i)
            if (fresh.count(ordered[i]))
                insertIntoGroups(ordered[i], i > 0 ? ordered[i - 1] : nullptr);
    } else {
        // A new order: the groups are filled again from the top. A row that changes group is
        // hidden on the way, and the focus with it: it comes back to where it was.
        QPointer<QWidget> focused = QApplication::focusWidget();
        for (JobRowWidget* row : kept) {
            auto* group = static_cast<RowGroup*>(row->parentWidget());
            group->rows()->removeWidget(row);
            group->rowsChanged();
        }
        for (size_t i = 0; i < ordered.size(); ++i) {
            const size_t at = i / static_cast<size_t>(m_rowsPerGroup);
            RowGroup* group = at < m_groups.size() ? m_groups[at] : addGroup(at);
            if (!fresh.count(ordered[i]) && ordered[i]->parentWidget() != group)
                shown.push_back(ordered[i]);
            group->rows()->insertWidget(static_cast<int>(i % static_cast<size_t>(m_rowsPerGroup)), ordered[i]);
            group->rowsChanged();
        }
        m_rows = ordered;
        for (size_t i = 0; i < m_rows.size(); ++i)
            stitchTabOrder(i);
        if (focused && QApplication::focusWidget() != focused && isVisible())
            focused->setFocus(Qt::OtherFocusReason);
    }
    m_rows = ordered;
    if (isVisible())
        for (JobRowWidget* row : shown)
            row->show();
}

RowGroup* JobListWidget::addGroup(size_t at)
{
    auto* group = new RowGroup(this);
    m_layout->insertWidget(static_cast<int>(at), group);
    m_groups.insert(m_groups.begin() + static_cast<std::ptrdiff_t>(at), group);
    if (isVisible())
        group->show();
    return group;
}

void JobListWidget::insertIntoGroups(JobRowWidget* row, JobRowWidget* previous)
{
    RowGroup* group = nullptr;
    int at = 0;
    if (previous) {
        group = static_cast<RowGroup*>(previous->parentWidget());
        at = group->rows()->indexOf(previous) + 1;
        // After the last row of a full group: an empty group after it (made for the new rows), or a
        // new one.
        if (at == group->rows()->count() && at >= m_rowsPerGroup) {
            const size_t index =
                static_cast<size_t>(std::find(m_groups.begin(), m_groups.end(), group) - m_groups.begin());
            const bool emptyNext = index + 1 < m_groups.size() && m_groups[index + 1]->rows()->count() == 0;
            group = emptyNext ? m_groups[index + 1] : addGroup(index + 1);
            at = 0;
        }
    } else if (m_groups.empty() || m_groups.front()->rows()->count() >= m_rowsPerGroup) {
        group = addGroup(0);
    } else {
        group = m_groups.front();
    }
    group->rows()->insertWidget(at, row);
    group->rowsChanged();
}

RowGroup* JobListWidget::lastGroupWithRoom()
{
    return m_groups.empty() || m_groups.back()->rows()->count() >= m_rowsPerGroup ? addGroup(m_groups.size())
                                                                                  : m_groups.back();
}

void JobListWidget::dropEmptyGroups()
{
    for (auto it = m_groups.begin(); it != m_groups.end();) {
        RowGroup* group = *it;
        if (group->rows()->count() > 0) {
            ++it;
            continue;
        }
        m_layout->removeWidget(group);
        group->hide();
        // Deferred with the rows it held: a row's own button may be what asked for this refresh.
        group->deleteLater();
        it = m_groups.erase(it);
    }
}

QRect JobListWidget::rowGeometry(const JobRowWidget* row) const
{
    const QWidget* group = row->parentWidget();
    return group == this ? row->geometry() : row->geometry().translated(group->pos());
}

void JobListWidget::updateColumns(int changedColumns, const std::vector<JobRowWidget*>& fresh)
{
    bool changed = false;
    for (int column = 0; column < JobColumns::Count; ++column) {
        if (!(changedColumns & (1 << column)))
            continue;
        int widest = 0;
        for (JobRowWidget* row : m_rows)
            widest = std::max(widest, row->naturalMinimum(column));
        changed |= m_columns->setMinimum(column, widest);
    }
    if (!changed)
        return;
    // Every row lays out on the columns again; new rows do so anyway.
    std::unordered_set<JobRowWidget*> skip(fresh.begin(), fresh.end());
    for (JobRowWidget* row : m_rows)
        if (!skip.count(row))
            row->layout()->invalidate();
    emit columnsChanged();
}

void JobListWidget::stitchTabOrder(size_t index)
{
    JobRowWidget* row = m_rows[index];
    QWidget* first = row->firstFocusable();
    QWidget* last = row->lastFocusable();
    if (!first)
        return;
    if (index > 0)
        if (QWidget* previous = m_rows[index - 1]->lastFocusable())
            QWidget::setTabOrder(previous, first);
    const auto buttons = row->actions()->buttons();
    for (int i = 1; i < buttons.size(); ++i)
        QWidget::setTabOrder(buttons[i - 1], buttons[i]);
    if (index + 1 < m_rows.size()) {
        if (QWidget* next = m_rows[index + 1]->firstFocusable())
            QWidget::setTabOrder(last, next);
        return;
    }
    for (const QPointer<QWidget>& control : qAsConst(m_controlsAfter)) {
        if (!control)
            continue;
        QWidget::setTabOrder(last, control);
        last = control;
    }
}

bool JobListWidget::anyRowBusy() const
{
    for (JobRowWidget* row : m_rows)
        if (row->actions()->isBusy())
            return true;
    return false;
}

} // namespace CvJobs
