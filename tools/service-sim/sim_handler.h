#pragma once

#include "CorvelService.h"

#include "job_store.h"

namespace CorvelSim {

// The service's answers: jobs from the store, the rest from DemoData. Logs one line per call, a
// job's whole configuration with the device token and the share credentials masked. Refuses a
// job the real service would refuse, naming the field.
class SimHandler : public CorvelService::CorvelServiceIf {
public:
    explicit SimHandler(JobStore& store);

    void createJob(std::string& result, CorvelService::JobType::type jobType, const std::string& description,
                   const CorvelService::JobConfiguration& configuration) override;
    void startJob(const std::string& jobId) override;
    void stopJob(const std::string& jobId) override;
    void cancelJob(const std::string& jobId) override;
    void deleteJob(const std::string& jobId) override;
    void getJobMutableSettings(CorvelService::JobMutableSettings& result, const std::string& jobId) override;
    void setJobMutableSettings(const std::string& jobId, const CorvelService::JobMutableSettings& settings) override;
    void getAllJobsInfo(std::vector<CorvelService::JobDescription>& result) override;
    void retrieveRestorePoints(std::vector<std::string>& result, const std::string& deviceHost,
                               const std::string& deviceToken) override;
    void retrieveMetadata(std::vector<CorvelService::DiskInfo>& result, const std::string& deviceHost,
                          const std::string& deviceToken, const std::string& timestamp) override;
    int64_t retrieveHyperVRamBytesUsed() override;
    void retrieveHyperVNetworks(std::vector<CorvelService::VirtualNetwork>& result) override;

private:
    // Hyper-V's own use plus the machines of the virtualization jobs that exist.
    int64_t retrieveRamUsed();

    JobStore& m_store;
};

} // namespace CorvelSim
