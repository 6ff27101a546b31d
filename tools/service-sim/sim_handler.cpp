#include "sim_handler.h"

#include "demo_data.h"
#include "job_check.h"
#include "platform/platform.h"
#include "sim_log.h"

#include <QDate>
#include <QDateTime>

#include <stdexcept>

namespace CorvelSim {

using namespace CorvelService;

namespace {

void requireDevice(const std::string& host, const std::string& token)
{
    if (host.empty() || token.empty())
        throw std::runtime_error("Device host and device token are required");
}

} // namespace

SimHandler::SimHandler(JobStore& store)
    : m_store(store)
{
}

void SimHandler::createJob(std::string& result, JobType::type jobType, const std::string& description,
                           const JobConfiguration& configuration)
{
    const std::string call = "createJob type=" + CorvelService::to_string(jobType) + " description=\"" + description +
                             "\" " + describe(configuration);
    const std::int64_t total = static_cast<std::int64_t>(CorvelPlatform::totalPhysicalMemory());
    const std::string refusal =
        jobRefusal(jobType, configuration, QDateTime::currentDateTimeUtc().date(), total - retrieveRamUsed());
    if (!refusal.empty()) {
        logLine(call + " -> refused: " + refusal);
        throw std::invalid_argument(refusal);
    }
    result = m_store.createJob(jobType, description, configuration);
    logLine(call + " -> " + result);
}

void SimHandler::startJob(const std::string& jobId)
{
    logLine("startJob " + jobId);
    m_store.startJob(jobId);
}

void SimHandler::stopJob(const std::string& jobId)
{
    logLine("stopJob " + jobId);
    m_store.stopJob(jobId);
}

void SimHandler::cancelJob(const std::string& jobId)
{
    logLine("cancelJob " + jobId);
    m_store.cancelJob(jobId);
}

void SimHandler::deleteJob(const std::string& jobId)
{
    logLine("deleteJob " + jobId);
    m_store.deleteJob(jobId);
}

void SimHandler::getJobMutableSettings(JobMutableSettings& result, const std::string& jobId)
{
    logLine("getJobMutableSettings " + jobId);
    result = m_store.mutableSettings(jobId);
}

void SimHandler::setJobMutableSettings(const std::string& jobId, const JobMutableSettings& settings)
{
    logLine("setJobMutableSettings " + jobId + " delete_created_vm=" + (settings.delete_created_vm ? "true" : "false"));
    m_store.setMutableSettings(jobId, settings);
}

void SimHandler::getAllJobsInfo(std::vector<JobDescription>& result)
{
    result = m_store.allJobs();
    logLine("getAllJobsInfo -> " + std::to_string(result.size()) + " jobs");
}

void SimHandler::retrieveRestorePoints(std::vector<std::string>& result, const std::string& deviceHost,
                                       const std::string& deviceToken)
{
    logLine("retrieveRestorePoints host=" + deviceHost);
    requireDevice(deviceHost, deviceToken);
    result = DemoData::restorePoints(deviceHost, deviceToken, QDateTime::currentDateTimeUtc().date());
}

void SimHandler::retrieveMetadata(std::vector<DiskInfo>& result, const std::string& deviceHost,
                                  const std::string& deviceToken, const std::string& timestamp)
{
    logLine("retrieveMetadata host=" + deviceHost + " timestamp=" + timestamp);
    requireDevice(deviceHost, deviceToken);
    if (!QDateTime::fromString(QString::fromStdString(timestamp), QStringLiteral("yyyy_MM_dd_hh_mm_ss")).isValid())
        throw std::runtime_error("Invalid restore point: " + timestamp);
    result = DemoData::metadata(deviceHost, deviceToken, timestamp);
}

int64_t SimHandler::retrieveRamUsed()
{
    return DemoData::hyperVRamBytesUsed() + m_store.virtualMachineRam();
}

int64_t SimHandler::retrieveHyperVRamBytesUsed()
{
    logLine("retrieveHyperVRamBytesUsed");
    return retrieveRamUsed();
}

void SimHandler::retrieveHyperVNetworks(std::vector<VirtualNetwork>& result)
{
    logLine("retrieveHyperVNetworks");
    result = DemoData::hyperVNetworks();
}

} // namespace CorvelSim
