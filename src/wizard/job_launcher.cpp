#include "wizard/job_launcher.h"

#include "service/service_connection.h"
#include "wizard/job_assembly.h"

#include <QDebug>

namespace Corvel {

using CorvelService::CallOutcome;
using CorvelService::CorvelServiceIf;

JobLauncher::JobLauncher(CorvelService::ServiceConnection& connection, QObject* parent)
    : QObject(parent)
    , m_connection(connection)
{
}

LaunchOutcome JobLauncher::launch(const RecoveryWizardValues& values)
{
    LaunchOutcome outcome;
    if (!values.recoveryType) {
        outcome.kind = LaunchOutcome::Kind::Refused;
        return outcome;
    }
    qInfo().noquote() << JobAssembly::valuesLog(values);
    if (*values.recoveryType == CorvelService::JobType::Virtualization)
        qInfo().noquote() << JobAssembly::vmSettingsLog(values);
    const CorvelService::JobConfiguration configuration = JobAssembly::configuration(values);

    qInfo() << "Creating recovery job.";
    const CorvelService::CallResult created = m_connection.call(
        [&](CorvelServiceIf& service) {
            service.createJob(outcome.jobId, *values.recoveryType, values.jobDescription.toStdString(), configuration);
        },
        {QtCriticalMsg});
    switch (created.outcome) {
    case CallOutcome::Ok:
        break;
    case CallOutcome::ApplicationFailure:
        return {
            LaunchOutcome::Kind::Refused, {}, QStringLiteral("Internal Error"), QStringLiteral("Failed to create job")};
    default:
        return {LaunchOutcome::Kind::Unreachable,
                {},
                QStringLiteral("Unknown error"),
                QStringLiteral("Failed to create job")};
    }

    qInfo() << "Recovery job created successfully.";
    emit jobCreated(outcome.jobId, values);
    // The start's failure line is printf-style and ends in a newline of its own.
    const CorvelService::CallResult started = m_connection.call(
        [&](CorvelServiceIf& service) { service.startJob(outcome.jobId); }, {QtWarningMsg, 0, QStringLiteral("\n")});
    if (started.outcome != CallOutcome::Ok) {
        outcome.kind = LaunchOutcome::Kind::StartFailed;
        outcome.title = QStringLiteral("Internal Error");
        outcome.text = QStringLiteral("Failed to start job");
        return outcome;
    }
    qInfo() << "Recovery job started successfully.";
    return outcome;
}

} // namespace Corvel
