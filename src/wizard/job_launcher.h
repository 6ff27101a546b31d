#pragma once

#include "wizard/recovery_wizard_values.h"

#include <QObject>
#include <QString>

#include <string>

namespace CorvelService {
class ServiceConnection;
}

namespace Corvel {

// How one launch ended, with the box the operator is shown when it failed.
struct LaunchOutcome {
    enum class Kind {
        Started,
        // The service refused to create the job.
        Refused,
        // The job could not be handed to the service at all.
        Unreachable,
        // Created, but the service did not start it; the job stays with the service.
        StartFailed,
    };
    Kind kind = Kind::Started;
    std::string jobId;
    QString title;
    QString text;
};

// The only place a recovery job is created: the wizard's values, logged, become the job's
// configuration, which the service creates and then starts.
class JobLauncher : public QObject {
    Q_OBJECT
public:
    // The connection must outlive the launcher.
    explicit JobLauncher(CorvelService::ServiceConnection& connection, QObject* parent = nullptr);

    LaunchOutcome launch(const RecoveryWizardValues& values);

signals:
    // The service created the job `jobId` from `values` (whether or not it then started).
    void jobCreated(const std::string& jobId, const Corvel::RecoveryWizardValues& values);

private:
    CorvelService::ServiceConnection& m_connection;
};

} // namespace Corvel
