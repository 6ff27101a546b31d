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
    : QWidget(parent), m_iconFont(iconFont), m_layout(new QVBoxLayout(this)),
      m_placeholder(new QLabel("No Active Jobs", this))
{
    setObjectName("job_list");
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
    m_layout->addWidget(m_placeholder, 0, Qt::AlignHCenter | Qt::AlignTop);
    m_layout->addStretch(1);
    m_placeholder->setObjectName("no_job_item");
    m_placeholder->setAlignment(Qt::AlignCenter);
    newRowsWidget();
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
    // The rows are built and laid out in a fresh, hidden parent and shown together: a row added
    // to a visible parent is shown on its own, and every such show lays out the whole grid again.
    QWidget* oldRows = m_rows;
    newRowsWidget();
    m_layout->removeWidget(oldRows);
    oldRows->hide();
    oldRows->deleteLater();
    int row = 0;
    for (const auto& job : m_cache) {
        if (job.status == CorvelService::JobStatus::Deleted)
            continue;
        addRow(job, row++);
    }
    if (m_hasRows) {
        m_rows->resize(width(), m_rows->heightForWidth(width()));
        m_grid->activate();
        m_rows->show();
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
        if (QWidget* widget = item->widget())
            widget->deleteLater();
        delete item;
    }
}

void JobListWidget::newRowsWidget()
{
    m_rows = new QWidget(this);
    m_rows->setObjectName("job_rows");
    m_rows->hide();
    m_grid = new QGridLayout(m_rows);
    m_grid->setContentsMargins(0, 0, 0, 0);
    for (int column = 0; column < ColumnCount; ++column)
        m_grid->setColumnStretch(column, 1);
    m_layout->insertWidget(0, m_rows);
}

void JobListWidget::addRow(const CorvelService::JobDescription& job, int row)
{
    const auto& configuration = job.configuration;
    m_grid->addWidget(new JobTypeLabel(job.job_type, m_rows), row, 0);
    m_grid->addWidget(new JobWorkWidget(job, m_iconFont, m_rows), row, 1);
    m_grid->addWidget(new JobInfoLabel(configuration.client_name, m_rows), row, 2);
    m_grid->addWidget(new JobInfoLabel(configuration.device_name, m_rows), row, 3);
    m_grid->addWidget(new JobInfoLabel(configuration.recovery_point, m_rows), row, 4);
    m_grid->addWidget(new JobInfoLabel(configuration.local_cache_path, m_rows), row, 5);
    m_grid->addWidget(new JobInfoLabel(job.description, m_rows), row, 6);
    auto* actions = new JobActionButtonsWidget(job, m_client, m_iconFont, m_rows);
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
