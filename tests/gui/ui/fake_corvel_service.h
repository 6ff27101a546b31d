#pragma once

#include "CorvelService.h"

#include <vector>

// A service that answers from memory: the jobs table polls it, nothing else is needed here.
class FakeCorvelService : public CorvelService::CorvelServiceIf {
public:
    std::vector<CorvelService::JobDescription> jobs;

    static CorvelService::JobDescription job(const std::string& id, CorvelService::JobType::type type,
                                             CorvelService::JobStatus::type status, const std::string& device,
                                             const std::string& work, int progress)
    {
        CorvelService::JobDescription description;
        description.id = id;
        description.description = device + " recovery";
        description.job_type = type;
        description.status = status;
        description.actions = status == CorvelService::JobStatus::Running
                                  ? CorvelService::JobAction::Stop | CorvelService::JobAction::Delete
                                  : CorvelService::JobAction::Start | CorvelService::JobAction::Delete;
        description.configuration.client_name = "Harbour Logistics";
        description.configuration.device_name = device;
        description.configuration.recovery_point = "2024-03-18T02:00:00";
        description.configuration.mount_point = "E:";
        description.current_work.text = work;
        description.current_work.progress = static_cast<int8_t>(progress);
        return description;
    }

    void createJob(std::string& id, const CorvelService::JobType::type, const std::string&,
                   const CorvelService::JobConfiguration&) override
    {
        id = "created";
    }
    void startJob(const std::string&) override {}
    void stopJob(const std::string&) override {}
    void cancelJob(const std::string&) override {}
    void deleteJob(const std::string&) override {}
    void getJobMutableSettings(CorvelService::JobMutableSettings&, const std::string&) override {}
    void setJobMutableSettings(const std::string&, const CorvelService::JobMutableSettings&) override {}
    void getAllJobsInfo(std::vector<CorvelService::JobDescription>& result) override { result = jobs; }
    void retrieveRestorePoints(std::vector<std::string>&, const std::string&, const std::string&) override {}
    void retrieveMetadata(std::vector<CorvelService::DiskInfo>&, const std::string&, const std::string&,
                          const std::string&) override
    {
    }
    int64_t retrieveHyperVRamBytesUsed() override { return 0; }
    void retrieveHyperVNetworks(std::vector<CorvelService::VirtualNetwork>&) override {}
};
