#include "jobs/job_row_widget.h"

#include "jobs/job_action_button.h"
#include "jobs/job_action_buttons_widget.h"
#include "jobs/job_columns.h"
#include "jobs/job_info_label.h"
#include "jobs/job_type_label.h"
#include "jobs/job_work_widget.h"

namespace CvJobs {

namespace {

std::array<const std::string*, 5> infoValues(const CorvelService::JobDescription& job)
{
    const auto& configuration = job.configuration;
    return {&configuration.client_name, &configuration.device_name, &configuration.recovery_point,
            &configuration.local_cache_path, &job.description};
}

} // namespace

JobRowWidget::JobRowWidget(const CorvelService::JobDescription& job,
                           CorvelService::ServiceConnection* connection,
                           const CorvelWidgets::IconFont& iconFont, std::shared_ptr<const JobColumns> columns,
                           QWidget* parent)
    : QWidget(parent)
    , m_type(new JobTypeLabel(job.job_type, this))
    , m_work(new JobWorkWidget(job, iconFont, this))
{
    setObjectName("job_row");
    setAttribute(Qt::WA_StyledBackground);
    const auto values = infoValues(job);
    for (size_t i = 0; i < m_info.size(); ++i)
        m_info[i] = new JobInfoLabel(*values[i], this);
    m_actions = new JobActionButtonsWidget(job, connection, iconFont, this);
    m_cells = {m_type, m_work, m_info[0], m_info[1], m_info[2], m_info[3], m_info[4], m_actions};

    auto* layout = new JobRowLayout(std::move(columns), this);
    // Room for the separator the style sheet draws under each row.
    layout->setContentsMargins(0, 0, 0, 1);
    for (QWidget* cell : m_cells)
        layout->addWidget(cell);
}

const CorvelService::JobDescription& JobRowWidget::job() const
{
    return m_actions->job();
}

int JobRowWidget::setJob(const CorvelService::JobDescription& job)
{
    const CorvelService::JobDescription& shown = m_actions->job();
    if (job == shown)
        return 0;
    int changed = 0;
    if (job.job_type != shown.job_type) {
        m_type->setType(job.job_type);
        changed |= 1 << Type;
    }
    if (job.status != shown.status || !(job.current_work == shown.current_work)) {
        if (job.status != shown.status || job.current_work.text != shown.current_work.text)
            changed |= 1 << Status;
        m_work->setJob(job);
    }
    const auto values = infoValues(job);
    for (size_t i = 0; i < m_info.size(); ++i)
        if (m_info[i]->setValue(*values[i]))
            changed |= 1 << (Client + i);
    if (job.actions != shown.actions)
        changed |= (1 << Action) | NewButtons;
    // Last: `shown` refers to the copy this replaces.
    m_actions->setJob(job);
    return changed;
}

void JobRowWidget::measure(int changedColumns)
{
    ensurePolished();
    for (int column = 0; column < JobColumns::Count; ++column)
        if (changedColumns & (1 << column))
            m_naturalMinimum[column] = m_cells[column]->minimumSizeHint().width();
}

QWidget* JobRowWidget::firstFocusable() const
{
    if (QWidget* wait = m_actions->waitButton())
        return wait;
    const auto buttons = m_actions->buttons();
    return buttons.isEmpty() ? nullptr : buttons.first();
}

QWidget* JobRowWidget::lastFocusable() const
{
    if (QWidget* wait = m_actions->waitButton())
        return wait;
    const auto buttons = m_actions->buttons();
    return buttons.isEmpty() ? nullptr : buttons.last();
}

} // namespace CvJobs
