#include "jobs/job_list_widget.h"

#include "jobs/job_action_buttons_widget.h"
#include "jobs/job_info_label.h"
#include "jobs/job_type_label.h"
#include "jobs/job_work_widget.h"

#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace CvJobs {

JobListWidget::JobListWidget(const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : QWidget(parent), m_iconFont(iconFont), m_grid(new QGridLayout),
      m_placeholder(new QLabel("No Active Jobs", this))
{
    setObjectName("job_list");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(m_grid);
    layout->addWidget(m_placeholder, 0, Qt::AlignHCenter | Qt::AlignTop);
    layout->addStretch(1);
    for (int column = 0; column < ColumnCount; ++column)
        m_grid->setColumnStretch(column, 1);
    m_placeholder->setObjectName("no_job_item");
    m_placeholder->setAlignment(Qt::AlignCenter);
}

void JobListWidget::setClient(std::shared_ptr<CorvelService::CorvelServiceIf> client)
{
    m_client = std::move(client);
}

bool JobListWidget::setJobs(const std::vector<CorvelService::JobDescription>& jobs)
{
    if (m_cacheValid && jobs == m_cache)
        return false;
    if (anyRowBusy())
        return false;

    m_cache = jobs;
    m_cacheValid = true;
    m_hasRows = false;
    clearRows();
    int row = 0;
    for (const auto& job : m_cache) {
        if (job.status == CorvelService::JobStatus::Deleted)
            continue;
        addRow(job, row++);
    }
    m_placeholder->setVisible(!m_hasRows);
    return true;
}

void JobListWidget::invalidate()
{
    m_cacheValid = false;
}

int JobListWidget::rowCount() const
{
    return m_grid->count() / ColumnCount;
}

QWidget* JobListWidget::cell(int row, int column) const
{
    if (row < 0 || row >= rowCount())
        return nullptr;
    QLayoutItem* item = m_grid->itemAtPosition(row, column);
    return item ? item->widget() : nullptr;
}

void JobListWidget::clearRows()
{
    m_actionWidgets.clear();
    // Deferred: a row's own button may be what asked for this rebuild, and it is still running.
    while (QLayoutItem* item = m_grid->takeAt(0)) {
        if (QWidget* widget = item->widget()) {
            widget->hide();
            widget->deleteLater();
        }
        delete item;
    }
}

void JobListWidget::addRow(const CorvelService::JobDescription& job, int row)
{
    const auto& configuration = job.configuration;
    m_grid->addWidget(new JobTypeLabel(job.job_type, this), row, 0);
    m_grid->addWidget(new JobWorkWidget(job, m_iconFont, this), row, 1);
    m_grid->addWidget(new JobInfoLabel(configuration.client_name, this), row, 2);
    m_grid->addWidget(new JobInfoLabel(configuration.device_name, this), row, 3);
    m_grid->addWidget(new JobInfoLabel(configuration.recovery_point, this), row, 4);
    m_grid->addWidget(new JobInfoLabel(configuration.local_cache_path, this), row, 5);
    m_grid->addWidget(new JobInfoLabel(job.description, this), row, 6);
    auto* actions = new JobActionButtonsWidget(job, m_client, m_iconFont, this);
    connect(actions, &JobActionButtonsWidget::needsUpdate, this, &JobListWidget::needsUpdate);
    m_grid->addWidget(actions, row, 7);
    m_actionWidgets.append(actions);
    m_hasRows = true;
}

bool JobListWidget::anyRowBusy() const
{
    for (const auto& actions : m_actionWidgets)
        if (actions && actions->isBusy())
            return true;
    return false;
}

} // namespace CvJobs
