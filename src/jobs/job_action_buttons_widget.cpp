#include "jobs/job_action_buttons_widget.h"

#include "jobs/delete_vm_dialog.h"
#include "jobs/delete_vm_dialog2.h"
#include "jobs/job_action_button.h"
#include "service/service_connection.h"

#include <QApplication>
#include <QDebug>
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

void JobActionButtonsWidget::setJob(const CorvelService::JobDescription& job)
{
    const bool newButtons = job.actions != m_job.actions;
    m_job = job;
    if (!newButtons) {
        setButtonsEnabled(true);
        return;
    }
    // Deferred: the button that was pressed may still be on the call stack.
    const bool focused = isAncestorOf(QApplication::focusWidget());
    for (QPushButton* button : findChildren<QPushButton*>(QString(), Qt::FindDirectChildrenOnly)) {
        button->hide();
        button->deleteLater();
    }
    while (QLayoutItem* item = m_layout->takeAt(0))
        delete item;
    m_buttons.clear();
    m_waitButton = nullptr;
    buildButtons();
    if (focused && !m_buttons.isEmpty())
        m_buttons.first()->setFocus();
}

void JobActionButtonsWidget::buildButtons()
{
    m_layout->addStretch(1);
    if (m_job.actions == JobAction::None) {
        m_waitButton = new QPushButton(JobActionButton::actionText(JobAction::None), this);
        m_waitButton->setObjectName("job_action_button_empty");
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
    qInfo("onStartJob");
    finishAction(callService([&](CorvelService::CorvelServiceIf& service) { service.startJob(m_job.id); }));
}

void JobActionButtonsWidget::onStopJob()
{
    qInfo("onStopJob");
    finishAction(callService([&](CorvelService::CorvelServiceIf& service) { service.stopJob(m_job.id); }));
}

void JobActionButtonsWidget::onCancelJob()
{
    qInfo("onCancelJob");
    finishAction(callService([&](CorvelService::CorvelServiceIf& service) { service.cancelJob(m_job.id); }));
}

void JobActionButtonsWidget::onDeleteJob()
{
    qInfo("onDeleteJob");
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
        qInfo(deleteVm ? "Delete VM during job deletion." : "Keep VM.");
        // Deleting the job without the operator's VM choice on record could destroy a VM they
        // chose to keep, so a failed update leaves the job in place.
        if (!storeVmChoice(deleteVm)) {
            qInfo("Abort job deletion.");
            return;
        }
    }
    finishAction(callService([&](CorvelService::CorvelServiceIf& service) { service.deleteJob(m_job.id); }));
}

JobActionButtonsWidget::VmChoice JobActionButtonsWidget::askAboutVm()
{
    qInfo("Ask user about VM deletion.");
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
        qInfo("Abort job deletion.");
        return VmChoice::Abandon;
    }
    return confirmed ? VmChoice::Delete : VmChoice::Keep;
}

bool JobActionButtonsWidget::storeVmChoice(bool deleteVm)
{
    CorvelService::JobMutableSettings settings;
    if (!callService([&](CorvelService::CorvelServiceIf& service) { service.getJobMutableSettings(settings, m_job.id); }))
        return false;
    settings.__set_delete_created_vm(deleteVm);
    return callService([&](CorvelService::CorvelServiceIf& service) { service.setJobMutableSettings(m_job.id, settings); });
}

void JobActionButtonsWidget::finishAction(bool succeeded)
{
    if (!succeeded)
        return;
    setButtonsEnabled(false);
    emit needsUpdate();
}

void JobActionButtonsWidget::setButtonsEnabled(bool enabled)
{
    for (auto* button : qAsConst(m_buttons))
        button->setEnabled(enabled);
}

} // namespace CvJobs
