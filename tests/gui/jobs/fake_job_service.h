#pragma once

#include "CorvelService.h"

#include <thrift/TApplicationException.h>
#include <thrift/transport/TTransportException.h>

#include <QStringList>

#include <optional>
#include <vector>

// In-memory service with switchable failures, recording what the console asked of it.
class FakeJobService : public CorvelService::CorvelServiceIf {
public:
    enum class Failure { None, Application, Transport };

    std::vector<CorvelService::JobDescription> jobs;
    Failure listFailure = Failure::None;
    Failure actionFailure = Failure::None;
    Failure settingsFailure = Failure::None;
    int listCalls = 0;
    QStringList calls;
    CorvelService::JobMutableSettings storedSettings;
    std::optional<bool> writtenDeleteVm;

    static void fail(Failure failure)
    {
        if (failure == Failure::Application)
            throw apache::thrift::TApplicationException(apache::thrift::TApplicationException::INTERNAL_ERROR,
                                                        "job is locked by another operation");
        if (failure == Failure::Transport)
            throw apache::thrift::transport::TTransportException(
                apache::thrift::transport::TTransportException::NOT_OPEN, "Called write on non-open socket");
    }

    void getAllJobsInfo(std::vector<CorvelService::JobDescription>& result) override
    {
        ++listCalls;
        fail(listFailure);
        result = jobs;
    }
    void startJob(const std::string& id) override { action("startJob", id); }
    void stopJob(const std::string& id) override { action("stopJob", id); }
    void cancelJob(const std::string& id) override { action("cancelJob", id); }
    void deleteJob(const std::string& id) override { action("deleteJob", id); }
    void getJobMutableSettings(CorvelService::JobMutableSettings& result, const std::string& id) override
    {
        calls << QString::fromStdString("getJobMutableSettings:" + id);
        fail(settingsFailure);
        result = storedSettings;
    }
    void setJobMutableSettings(const std::string& id, const CorvelService::JobMutableSettings& settings) override
    {
        calls << QString::fromStdString("setJobMutableSettings:" + id);
        fail(settingsFailure);
        storedSettings = settings;
        writtenDeleteVm = settings.delete_created_vm;
    }

    void createJob(std::string&, const CorvelService::JobType::type, const std::string&,
                   const CorvelService::JobConfiguration&) override
    {
        unexpected("createJob");
    }
    void retrieveRestorePoints(std::vector<std::string>&, const std::string&, const std::string&) override
    {
        unexpected("retrieveRestorePoints");
    }
    void retrieveMetadata(std::vector<CorvelService::DiskInfo>&, const std::string&, const std::string&,
                          const std::string&) override
    {
        unexpected("retrieveMetadata");
    }
    int64_t retrieveHyperVRamBytesUsed() override
    {
        unexpected("retrieveHyperVRamBytesUsed");
        return 0;
    }
    void retrieveHyperVNetworks(std::vector<CorvelService::VirtualNetwork>&) override
    {
        unexpected("retrieveHyperVNetworks");
    }

private:
    void action(const char* method, const std::string& id)
    {
        calls << QString::fromLatin1(method) + ':' + QString::fromStdString(id);
        fail(actionFailure);
    }
    void unexpected(const char* method) { calls << QString::fromLatin1(method); }
};
