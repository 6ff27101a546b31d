#include "jobs/job_row_widget.h"

#include "jobs/job_action_button.h"
#include "jobs/job_action_buttons_widget.h"
#include "jobs/job_columns.h"
#include "jobs/job_details.h"
#include "jobs/job_hand_off.h"
#include "jobs/job_info_label.h"
#include "jobs/job_status_label.h"
#include "jobs/job_table_widget.h"
#include "jobs/job_type_label.h"
#include "jobs/job_work_widget.h"
#include "jobs/jobs_texts.h"
#include "jobs/soft_wrap.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMoveEvent>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace CvJobs {

namespace {

std::array<const std::string*, 5> infoValues(const CorvelService::JobDescription& job)
{
    const auto& configuration = job.configuration;
    return {&configuration.client_name, &configuration.device_name, &configuration.recovery_point,
            &configuration.local_cache_path, &job.description};
}

} // namespace

JobRowWidget::JobRowWidget(const CorvelService::JobDescription& job, CorvelService::ServiceConnection* connection,
                           const CorvelWidgets::IconFont& iconFont, std::shared_ptr<const JobColumns> columns,
                           QWidget* parent)
    : QWidget(parent)
    , m_type(new JobTypeLabel(job.job_type))
    , m_result(new QLabel)
    , m_substatus(new QLabel)
    , m_work(new JobWorkWidget(job, iconFont, this))
{
    setObjectName("job_row");
    setAttribute(Qt::WA_StyledBackground);
    auto* typeCell = new QWidget(this);
    auto* typeLayout = new QVBoxLayout(typeCell);
    typeLayout->setContentsMargins(0, 0, 0, 0);
    typeLayout->setSpacing(0);
    typeLayout->addStretch(1);
    typeLayout->addWidget(m_type);
    m_result->setObjectName("job_item_result");
    m_substatus->setObjectName("job_item_substatus");
    for (QLabel* label : {m_result, m_substatus}) {
        label->setWordWrap(true);
        label->setTextFormat(Qt::PlainText);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        label->setContextMenuPolicy(Qt::NoContextMenu);
        typeLayout->addWidget(label);
    }
    typeLayout->addStretch(1);
    showOutcome(job);

    const auto values = infoValues(job);
    for (size_t i = 0; i < m_info.size(); ++i)
        m_info[i] = new JobInfoLabel(*values[i], this, Client + int(i) == RecoveryPoint);
    m_actions = new JobActionButtonsWidget(job, connection, iconFont, this);
    m_cells = {typeCell, m_work, m_info[0], m_info[1], m_info[2], m_info[3], m_info[4], m_actions};

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
    if (JobDetails::result(job) != m_result->text() || QString::fromStdString(job.substatus) != m_substatus->text()) {
        showOutcome(job);
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

void JobRowWidget::showOutcome(const CorvelService::JobDescription& job)
{
    const QString result = JobDetails::result(job);
    m_result->setText(boundedText(result));
    m_result->setVisible(!result.isEmpty());
    const QString substatus = QString::fromStdString(job.substatus);
    m_substatus->setText(boundedText(substatus));
    m_substatus->setVisible(!substatus.isEmpty());
}

void JobRowWidget::measure(int changedColumns)
{
    ensurePolished();
    for (int column = 0; column < JobColumns::Count; ++column)
        if (changedColumns & (1 << column))
            m_naturalMinimum[column] = m_cells[column]->minimumSizeHint().width();
    if (changedColumns & ((1 << Action) | (1 << Status))) {
        int buttonHeight = 0;
        for (QPushButton* button : m_actions->findChildren<QPushButton*>())
            buttonHeight = std::max(buttonHeight, button->sizeHint().height());
        const int actions = 2 * buttonHeight + m_actions->layout()->spacing();
        const int floor = std::max(actions, m_work->steadyHeight()) + layout()->contentsMargins().bottom();
        if (floor > m_floor) {
            m_floor = floor;
            setMinimumHeight(floor);
        }
    }
}

void JobRowWidget::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu menu(this);
    menu.setObjectName("job_row_menu");
    const CorvelService::JobDescription shown = job();
    for (const JobHandOff::Entry& entry : JobHandOff::entries(shown)) {
        connect(menu.addAction(entry.text), &QAction::triggered, this,
                [this, entry, shown] { JobHandOff::run(entry, shown, desktop(), this); });
    }
    if (!menu.isEmpty())
        menu.addSeparator();
    QAction* copy = menu.addAction(Texts::CopyDetails);
    connect(copy, &QAction::triggered, this,
            [this] { QGuiApplication::clipboard()->setText(JobDetails::text(job())); });
    // From the keyboard the menu opens at the control that has the focus, not at the mouse.
    QWidget* focused = focusWidget();
    const bool atFocus = event->reason() == QContextMenuEvent::Keyboard && focused && isAncestorOf(focused);
    menu.exec(atFocus ? focused->mapToGlobal(focused->rect().center()) : event->globalPos());
}

void JobRowWidget::keyPressEvent(QKeyEvent* event)
{
    // Shift+F10 is the menu key's twin; only some platforms make a menu event of it.
    if (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier) {
        QContextMenuEvent menuEvent(QContextMenuEvent::Keyboard, QPoint(), mapToGlobal(QPoint()));
        contextMenuEvent(&menuEvent);
        return;
    }
    QWidget::keyPressEvent(event);
}

CorvelPlatform::Desktop& JobRowWidget::desktop() const
{
    for (QWidget* ancestor = parentWidget(); ancestor; ancestor = ancestor->parentWidget())
        if (auto* table = qobject_cast<JobTableWidget*>(ancestor))
            return table->desktop();
    static const std::shared_ptr<CorvelPlatform::Desktop> system = CorvelPlatform::systemDesktop();
    return *system;
}

void JobRowWidget::moveEvent(QMoveEvent* event)
{
    QWidget::moveEvent(event);
    if (event->oldPos() != event->pos())
        m_actions->markMoved();
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
