#pragma once

#include "CorvelService.h"

#include <thrift/TApplicationException.h>
#include <thrift/transport/TTransportException.h>

#include <QStringList>

#include <optional>
#include <vector>

// In-memory service with switchable failures, recording what the console asked of it.
class FakeJobService : public CorvelService::CorvelServiceNull {
public:
    enum class Failure { None, Application, Transport };

    std::vector<CorvelService::JobDescription> jobs;
    Failure listFailure = Failure::None, actionFailure = Failure::None, settingsFailure = Failure::None;
    int listCalls = 0;
    QStringList calls;
    CorvelService::JobMutableSettings storedSettings;
    std::optional<bool> writtenDeleteVm;

    void getAllJobsInfo(std::vector<CorvelService::JobDescription>& result) override
    {
        ++listCalls;
        fail(listFailure);
        result = jobs;
    }
    void startJob(const std::string& id) override { record("startJob", id, actionFailure); }
    void stopJob(const std::string& id) override { record("stopJob", id, actionFailure); }
    void cancelJob(const std::string& id) override { record("cancelJob", id, actionFailure); }
    void deleteJob(const std::string& id) override { record("deleteJob", id, actionFailure); }
    void getJobMutableSettings(CorvelService::JobMutableSettings& result, const std::string& id) override
    {
        record("getJobMutableSettings", id, settingsFailure);
        result = storedSettings;
    }
    void setJobMutableSettings(const std::string& id, const CorvelService::JobMutableSettings& settings) override
    {
        record("setJobMutableSettings", id, settingsFailure);
        writtenDeleteVm = settings.delete_created_vm;
    }

private:
    static void fail(Failure failure)
    {
        using namespace apache::thrift;
        if (failure == Failure::Application)
            throw TApplicationException(TApplicationException::INTERNAL_ERROR, "job is locked by another operation");
        if (failure == Failure::Transport)
            throw transport::TTransportException(transport::TTransportException::NOT_OPEN,
                                                 "Called write on non-open socket");
    }
    void record(const char* method, const std::string& id, Failure failure)
    {
        calls << QString::fromLatin1(method) + ':' + QString::fromStdString(id);
        fail(failure);
    }
};
