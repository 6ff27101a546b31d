#include "testsupport/fake_service.h"

#include <thrift/TApplicationException.h>
#include <thrift/transport/TTransportException.h>

#include <QRegularExpression>
#include <QThread>

namespace CorvelTest {

using namespace CorvelService;

void FakeService::failNext(const std::string& method, Failure failure, int times)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_failures[method].insert(m_failures[method].end(), static_cast<size_t>(times), failure);
}

void FakeService::setDelay(const std::string& method, int milliseconds)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_delays[method] = milliseconds;
}

QStringList FakeService::calls() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}

int FakeService::callCount(const QString& method) const
{
    return calls().filter(QRegularExpression("^" + QRegularExpression::escape(method) + "(:|$)")).size();
}

std::unique_lock<std::mutex> FakeService::enter(const std::string& method, const std::string& argument,
                                                Failure standing, bool record)
{
    Failure failure = standing;
    int delay = 0;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (record)
            m_calls << QString::fromStdString(argument.empty() ? method : method + ':' + argument);
        else
            ++listCalls;
        std::vector<Failure>& queued = m_failures[method];
        if (!queued.empty()) {
            failure = queued.front();
            queued.erase(queued.begin());
        }
        delay = m_delays[method];
    }
    QThread::msleep(static_cast<unsigned long>(delay));
    using namespace apache::thrift;
    if (failure == Failure::Application)
        throw TApplicationException(TApplicationException::INTERNAL_ERROR, "job is locked by another operation");
    if (failure == Failure::Transport)
        throw transport::TTransportException(transport::TTransportException::NOT_OPEN,
                                             "Called write on non-open socket");
    return std::unique_lock<std::mutex>(m_mutex);
}

void FakeService::getAllJobsInfo(std::vector<JobDescription>& result)
{
    const auto lock = enter("getAllJobsInfo", {}, listFailure, false);
    result = jobs;
}

void FakeService::startJob(const std::string& id)
{
    enter("startJob", id, actionFailure);
}

void FakeService::stopJob(const std::string& id)
{
    enter("stopJob", id, actionFailure);
}

void FakeService::cancelJob(const std::string& id)
{
    enter("cancelJob", id, actionFailure);
}

void FakeService::deleteJob(const std::string& id)
{
    enter("deleteJob", id, actionFailure);
}

void FakeService::getJobMutableSettings(JobMutableSettings& result, const std::string& id)
{
    const auto lock = enter("getJobMutableSettings", id, settingsFailure);
    result = storedSettings;
}

void FakeService::setJobMutableSettings(const std::string& id, const JobMutableSettings& settings)
{
    const auto lock = enter("setJobMutableSettings", id, settingsFailure);
    writtenDeleteVm = settings.delete_created_vm;
}

void FakeService::createJob(std::string& result, JobType::type type, const std::string& description,
                            const JobConfiguration& configuration)
{
    const auto lock = enter("createJob", configuration.recovery_point);
    createdType = type;
    createdDescription = description;
    createdConfiguration = configuration;
    result = createdJobId;
}

void FakeService::retrieveRestorePoints(std::vector<std::string>& result, const std::string&,
                                        const std::string& deviceToken)
{
    const auto lock = enter("retrieveRestorePoints", deviceToken);
    result = restorePoints[deviceToken];
}

void FakeService::retrieveMetadata(std::vector<DiskInfo>& result, const std::string&, const std::string&,
                                   const std::string& timestamp)
{
    const auto lock = enter("retrieveMetadata", timestamp);
    result = metadata[timestamp];
}

int64_t FakeService::retrieveHyperVRamBytesUsed()
{
    const auto lock = enter("retrieveHyperVRamBytesUsed", {});
    return hyperVRamBytesUsed;
}

void FakeService::retrieveHyperVNetworks(std::vector<VirtualNetwork>& result)
{
    const auto lock = enter("retrieveHyperVNetworks", {});
    result = networks;
}

} // namespace CorvelTest
