#pragma once

#include "CorvelService.h"

#include <QStringList>

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace CorvelTest {

// In-memory local service with switchable failures and delays, recording what the console asked.
// Thread-safe (wizard pages call it from pool threads); fields are set up before use.
class FakeService : public CorvelService::CorvelServiceNull {
public:
    enum class Failure { None, Application, Transport };

    std::vector<CorvelService::JobDescription> jobs;
    Failure listFailure = Failure::None, actionFailure = Failure::None, settingsFailure = Failure::None;
    int listCalls = 0;
    CorvelService::JobMutableSettings storedSettings;
    std::optional<bool> writtenDeleteVm;

    // Wizard queries, by device token (restore points) or restore point name (metadata).
    std::map<std::string, std::vector<std::string>> restorePoints;
    std::map<std::string, std::vector<CorvelService::DiskInfo>> metadata;
    int64_t hyperVRamBytesUsed = 0;
    std::vector<CorvelService::VirtualNetwork> networks;

    std::string createdJobId = "job-1";
    CorvelService::JobType::type createdType = CorvelService::JobType::FileRecovery;
    std::string createdDescription;
    CorvelService::JobConfiguration createdConfiguration;

    // Method name -> failures still to come (each call takes one) / delay in milliseconds.
    void failNext(const std::string& method, Failure failure, int times = 1);
    void setDelay(const std::string& method, int milliseconds);

    QStringList calls() const;
    int callCount(const QString& method) const;

    void getAllJobsInfo(std::vector<CorvelService::JobDescription>& result) override;
    void startJob(const std::string& id) override;
    void stopJob(const std::string& id) override;
    void cancelJob(const std::string& id) override;
    void deleteJob(const std::string& id) override;
    void getJobMutableSettings(CorvelService::JobMutableSettings& result, const std::string& id) override;
    void setJobMutableSettings(const std::string& id, const CorvelService::JobMutableSettings& settings) override;
    void createJob(std::string& result, CorvelService::JobType::type type, const std::string& description,
                   const CorvelService::JobConfiguration& configuration) override;
    void retrieveRestorePoints(std::vector<std::string>& result, const std::string& deviceHost,
                               const std::string& deviceToken) override;
    void retrieveMetadata(std::vector<CorvelService::DiskInfo>& result, const std::string& deviceHost,
                          const std::string& deviceToken, const std::string& timestamp) override;
    int64_t retrieveHyperVRamBytesUsed() override;
    void retrieveHyperVNetworks(std::vector<CorvelService::VirtualNetwork>& result) override;

private:
    // Records the call, waits its delay and throws its next failure (outside the lock), then locks
    // for the answer. The jobs poll is counted in listCalls, not recorded.
    std::unique_lock<std::mutex> enter(const std::string& method, const std::string& argument,
                                       Failure standing = Failure::None, bool record = true);

    mutable std::mutex m_mutex;
    QStringList m_calls;
    std::map<std::string, std::vector<Failure>> m_failures;
    std::map<std::string, int> m_delays;
};

} // namespace CorvelTest
