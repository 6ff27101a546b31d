#include "jobs/job_action_buttons_widget.h"

#include "jobs/delete_vm_dialog.h"
#include "jobs/delete_vm_dialog2.h"
#include "jobs/job_action_button.h"
#include "jobs/jobs_texts.h"
#include "service/service_connection.h"
#include "widgets/initial_focus.h"

#include <QApplication>
#include <QDebug>
#include <QFocusEvent>
#include <QPointer>
#include <QVBoxLayout>

namespace CvJobs {

using CorvelService::CallOutcome;

using CorvelService::JobAction;

JobActionButtonsWidget::JobActionButtonsWidget(const CorvelService::JobDescription& job,
                                               CorvelService::ServiceConnection* connection,
                                               const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : QWidget(parent)
    , m_job(job)
    , m_connection(connection)
    , m_iconFont(iconFont)
    , m_layout(new QVBoxLayout(this))
{
    // Stacked, so the column needs only the width of its widest button and all eight columns
    // can share the width alike, as the header captions do.
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(4);
    buildButtons();
}

void JobActionButtonsWidget::setClock(std::shared_ptr<Corvel::Clock> clock)
{
    m_clock = std::move(clock);
    markMoved();
}

void JobActionButtonsWidget::markMoved()
{
    m_changedAt = m_clock->nowMs();
}

bool JobActionButtonsWidget::settled(const char* action) const
{
    const qint64 since = m_clock->nowMs() - m_changedAt;
    if (since >= SettleMs)
        return true;
    qInfo().noquote() << QStringLiteral("%1 ignored: the row of job %2 changed %3 ms before the press")
                             .arg(QLatin1String(action), QString::fromStdString(m_job.id))
                             .arg(since);
    return false;
}

bool JobActionButtonsWidget::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::FocusIn && static_cast<QFocusEvent*>(event)->reason() == Qt::BacktabFocusReason)
        emit focusedBackward();
    return QWidget::eventFilter(watched, event);
}

void JobActionButtonsWidget::refocus()
{
    if (!hasFocus())
        return;
    if (m_waitButton)
        m_waitButton->setFocus(Qt::OtherFocusReason);
    else if (!m_buttons.isEmpty() && m_buttons.first()->isEnabled())
        m_buttons.first()->setFocus(Qt::OtherFocusReason);
}

void JobActionButtonsWidget::setJob(const CorvelService::JobDescription& job)
{
    const bool newButtons = job.actions != m_job.actions;
    m_job = job;
    if (!newButtons) {
        setButtonsEnabled(true);
        refocus();
        return;
    }
    // Held by the row itself while its buttons change, so that it never passes to another job's.
    if (isAncestorOf(QApplication::focusWidget()))
        setFocus(Qt::OtherFocusReason);
    // Deferred: the button that was pressed may still be on the call stack.
    for (QPushButton* button : findChildren<QPushButton*>(QString(), Qt::FindDirectChildrenOnly)) {
        button->hide();
        button->deleteLater();
    }
    while (QLayoutItem* item = m_layout->takeAt(0))
        delete item;
    m_buttons.clear();
    m_waitButton = nullptr;
    buildButtons();
    refocus();
}

void JobActionButtonsWidget::buildButtons()
{
    markMoved();
    m_layout->addStretch(1);
    if (m_job.actions == JobAction::None) {
        m_waitButton = new QPushButton(JobActionButton::actionText(JobAction::None), this);
        m_waitButton->setObjectName("job_action_button_empty");
        m_waitButton->installEventFilter(this);
        CorvelWidgets::pressOnReturn(m_waitButton);
        m_layout->addWidget(m_waitButton);
    } else {
        const std::pair<JobAction::type, void (JobActionButtonsWidget::*)()> actions[] = {
            {JobAction::Start, &JobActionButtonsWidget::onStartJob},
            {JobAction::Stop, &JobActionButtonsWidget::onStopJob},
            {JobAction::Delete, &JobActionButtonsWidget::onDeleteJob},
            {JobAction::Cancel, &JobActionButtonsWidget::onCancelJob},
        };
        for (const auto& [action, slot] : actions) {
            if (!(m_job.actions & action))
                continue;
            auto* button = new JobActionButton(action, this);
            connect(button, &QPushButton::clicked, this, slot);
            button->installEventFilter(this);
            CorvelWidgets::pressOnReturn(button);
            m_layout->addWidget(button);
            m_buttons.append(button);
        }
    }
    m_layout->addStretch(1);
    if (isVisible()) {
        for (QPushButton* button : qAsConst(m_buttons))
            button->show();
        if (m_waitButton)
            m_waitButton->show();
    }
}

bool JobActionButtonsWidget::callService(const std::function<void(CorvelService::CorvelServiceIf&)>& call)
{
    if (!m_connection) {
        qWarning("Unknown exception: no connection to the Corvel service");
        return false;
    }
    return m_connection->call(call).outcome == CallOutcome::Ok;
}

void JobActionButtonsWidget::onStartJob()
{
    if (!settled(Texts::OnStartJob))
        return;
    qInfo(Texts::OnStartJob);
    finishAction(callService([&](CorvelService::CorvelServiceIf& service) { service.startJob(m_job.id); }), "Start");
}

void JobActionButtonsWidget::onStopJob()
{
    if (!settled(Texts::OnStopJob))
        return;
    qInfo(Texts::OnStopJob);
    finishAction(callService([&](CorvelService::CorvelServiceIf& service) { service.stopJob(m_job.id); }), "Stop");
}

void JobActionButtonsWidget::onCancelJob()
{
    if (!settled(Texts::OnCancelJob))
        return;
    qInfo(Texts::OnCancelJob);
    finishAction(callService([&](CorvelService::CorvelServiceIf& service) { service.cancelJob(m_job.id); }), "Cancel");
}

void JobActionButtonsWidget::onDeleteJob()
{
    if (!settled(Texts::OnDeleteJob))
        return;
    qInfo(Texts::OnDeleteJob);
    if (m_job.job_type == CorvelService::JobType::Virtualization) {
        QPointer<JobActionButtonsWidget> self(this);
        m_busy = true;
        const VmChoice choice = askAboutVm();
        if (!self)
            return;
        m_busy = false;
        if (choice == VmChoice::Abandon)
            return;
        const bool deleteVm = choice == VmChoice::Delete;
        qInfo(deleteVm ? Texts::DeleteVm : Texts::KeepVm);
        // Deleting the job without the operator's VM choice on record could destroy a VM they
        // chose to keep, so a failed update leaves the job in place.
        if (!storeVmChoice(deleteVm)) {
            qInfo(Texts::AbortDeletion);
            return;
        }
        emit actionTaken(QString::fromStdString(m_job.id), deleteVm ? "Delete VM" : "Keep VM");
    }
    finishAction(callService([&](CorvelService::CorvelServiceIf& service) { service.deleteJob(m_job.id); }), "Delete");
}

JobActionButtonsWidget::VmChoice JobActionButtonsWidget::askAboutVm()
{
    qInfo(Texts::AskAboutVm);
    const bool testVm = m_job.configuration.vm_settings.virtualization_type == CorvelService::VirtualizationType::Test;

    // Heap dialogs under a guard: the row may go away while the dialog runs its own event loop.
    QPointer<DeleteVMDialog> question = new DeleteVMDialog(m_iconFont, this, testVm);
    const bool saved = question->exec() == QDialog::Accepted;
    if (!question)
        return VmChoice::Abandon;
    const bool deleteSelected = question->isDeleteSelected();
    delete question;
    if (!saved)
        return VmChoice::Abandon;
    if (!deleteSelected)
        return VmChoice::Keep;

    QPointer<DeleteVMDialog2> confirmation = new DeleteVMDialog2(m_iconFont, this);
    const bool answered = confirmation->exec() == QDialog::Accepted;
    if (!confirmation)
        return VmChoice::Abandon;
    const bool confirmed = confirmation->isDeleteSelected();
    delete confirmation;
    if (!answered) {
        qInfo(Texts::AbortDeletion);
        return VmChoice::Abandon;
    }
    return confirmed ? VmChoice::Delete : VmChoice::Keep;
}

bool JobActionButtonsWidget::storeVmChoice(bool deleteVm)
{
    CorvelService::JobMutableSettings settings;
    if (!callService(
            [&](CorvelService::CorvelServiceIf& service) { service.getJobMutableSettings(settings, m_job.id); }))
        return false;
    settings.__set_delete_created_vm(deleteVm);
    return callService(
        [&](CorvelService::CorvelServiceIf& service) { service.setJobMutableSettings(m_job.id, settings); });
}

void JobActionButtonsWidget::finishAction(bool succeeded, const char* action)
{
    if (!succeeded)
        return;
    emit actionTaken(QString::fromStdString(m_job.id), QString::fromLatin1(action));
    setButtonsEnabled(false);
    emit needsUpdate();
}

void JobActionButtonsWidget::setButtonsEnabled(bool enabled)
{
    // A disabled button hands the focus to the next in the chain: another job's.
    if (!enabled && isAncestorOf(QApplication::focusWidget()))
        setFocus(Qt::OtherFocusReason);
    for (auto* button : qAsConst(m_buttons))
        button->setEnabled(enabled);
}

} // namespace CvJobs
