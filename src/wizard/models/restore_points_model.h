#pragma once

#include "wizard/models/guarded_cloud_call.h"
#include "wizard/pages/page_context.h"

#include <QObject>

namespace Corvel {

struct RecoveryWizardValues;

// The chosen device's restore points: its token from the cloud, then the names from the service,
// kept per device in the values so that coming back costs nothing.
class RestorePointsModel : public QObject {
    Q_OBJECT
public:
    RestorePointsModel(RecoveryWizardValues& values, const PageContext& context, QObject* parent = nullptr);

    bool cached() const;
    // Asks for the current device's restore points (the cloud's token first).
    void load();
    void resetRetries() { m_retry.reset(); }

signals:
    void loading(const QString& text);
    // The device's names are in the cache now.
    void arrived(quint64 deviceId);
    // Nothing could be listed; the box is the page's.
    void failed();
    void empty();

private:
    void retrieve(quint64 deviceId, const QString& url, const QString& token);

    RecoveryWizardValues& m_values;
    VuskAPI::CloudApi& m_cloud;
    CorvelService::ServiceConnection& m_connection;
    int m_retries;
    int m_limitMs;
    VuskAPI::CloudCallRetry m_retry;
    GuardedCloudCall m_tokenCall;
};

} // namespace Corvel
