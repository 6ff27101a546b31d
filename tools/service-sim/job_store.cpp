#include "job_store.h"

#include "demo_data.h"
#include "sim_log.h"

#include <thrift/protocol/TJSONProtocol.h>
#include <thrift/transport/TBufferTransports.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QUuid>

#include <algorithm>
#include <stdexcept>

namespace CorvelSim {

using namespace CorvelService;
using apache::thrift::protocol::TJSONProtocol;
using apache::thrift::transport::TMemoryBuffer;

namespace {

const std::chrono::seconds kTickSaveInterval(1);

int allowedActions(JobStatus::type status)
{
    switch (status) {
    case JobStatus::Created:
    case JobStatus::Stopped:
        return JobAction::Start | JobAction::Delete;
    case JobStatus::Starting:
        return JobAction::Cancel;
    case JobStatus::Running:
        return JobAction::Stop;
    default:
        return JobAction::None;
    }
}

std::string statusName(JobStatus::type status)
{
    return CorvelService::to_string(status);
}

template <typename Record> QJsonValue toJson(const Record& record)
{
    auto buffer = std::make_shared<TMemoryBuffer>();
    TJSONProtocol protocol(buffer);
    record.write(&protocol);
    return QJsonDocument::fromJson(QByteArray::fromStdString(buffer->getBufferAsString())).object();
}

template <typename Record> void fromJson(const QJsonValue& value, Record& record)
{
    if (!value.isObject())
        throw std::runtime_error("record is not a JSON object");
    const QByteArray bytes = QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact);
    auto buffer = std::make_shared<TMemoryBuffer>(reinterpret_cast<uint8_t*>(const_cast<char*>(bytes.constData())),
                                                  static_cast<uint32_t>(bytes.size()), TMemoryBuffer::COPY);
    TJSONProtocol protocol(buffer);
    record.read(&protocol);
}

} // namespace

JobStore::JobStore(std::string stateFile)
    : m_stateFile(std::move(stateFile))
{
}

bool JobStore::load(std::string& error)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stateFile.empty())
        return true;
    QFile file(QString::fromStdString(m_stateFile));
    if (!file.exists())
        return true;
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString().toStdString();
        return false;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (!document.isObject()) {
        error = parseError.error != QJsonParseError::NoError ? parseError.errorString().toStdString()
                                                             : std::string("not a JSON object");
        return false;
    }
    const QJsonObject root = document.object();
    std::vector<Job> jobs;
    try {
        for (const QJsonValue& entry : root.value(QStringLiteral("jobs")).toArray()) {
            Job job;
            fromJson(entry.toObject().value(QStringLiteral("job")), job.description);
            fromJson(entry.toObject().value(QStringLiteral("settings")), job.settings);
            job.ticksInStatus = entry.toObject().value(QStringLiteral("ticks")).toInt();
            if (job.description.id.empty())
                throw std::runtime_error("a job without id");
            jobs.push_back(job);
        }
    } catch (const std::exception& e) {
        error = std::string("bad job record: ") + e.what();
        return false;
    }
    m_jobs = std::move(jobs);
    m_nextNumber = std::max(1, root.value(QStringLiteral("next_job_number")).toInt(1));
    return true;
}

bool JobStore::save(std::string& error)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return saveLocked(error);
}

bool JobStore::saveLocked(std::string& error)
{
    m_dirty = false;
    m_lastSave = std::chrono::steady_clock::now();
    if (m_stateFile.empty())
        return true;
    QJsonArray jobs;
    for (const Job& job : m_jobs) {
        QJsonObject entry;
        entry.insert(QStringLiteral("job"), toJson(job.description));
        entry.insert(QStringLiteral("settings"), toJson(job.settings));
        entry.insert(QStringLiteral("ticks"), job.ticksInStatus);
        jobs.append(entry);
    }
    QJsonObject root;
    root.insert(QStringLiteral("next_job_number"), m_nextNumber);
    root.insert(QStringLiteral("jobs"), jobs);

    QSaveFile file(QString::fromStdString(m_stateFile));
    if (!file.open(QIODevice::WriteOnly)) {
        error = file.errorString().toStdString();
        return false;
    }
    file.write(QJsonDocument(root).toJson(QJsonDocument::Indented));
    if (!file.commit()) {
        error = file.errorString().toStdString();
        return false;
    }
    return true;
}

void JobStore::saveAfterChange()
{
    std::string error;
    if (!saveLocked(error))
        logLine("cannot write state file " + m_stateFile + ": " + error);
}

std::string JobStore::nextId()
{
    static const QUuid space(QStringLiteral("{6f1c9a52-2d0b-4c8e-9a55-0b7e3c4d2a91}"));
    return QUuid::createUuidV5(space, QString::number(m_nextNumber++)).toString(QUuid::WithoutBraces).toStdString();
}

JobStore::Job& JobStore::find(const std::string& id)
{
    auto it = std::find_if(m_jobs.begin(), m_jobs.end(), [&](const Job& j) { return j.description.id == id; });
    if (it == m_jobs.end())
        throw std::runtime_error("Unknown job id: " + id);
    return *it;
}

void JobStore::enter(Job& job, JobStatus::type status)
{
    JobDescription& d = job.description;
    const JobConfiguration& c = d.configuration;
    d.status = status;
    d.actions = allowedActions(status);
    job.ticksInStatus = 0;
    CurrentWork& work = d.current_work;
    const bool vm = d.job_type == JobType::Virtualization;

    switch (status) {
    case JobStatus::Created:
        work.text = "Waiting to be started";
        work.technical_details.clear();
        work.progress = 0;
        break;
    case JobStatus::Initializing:
        d.substatus.clear();
        work.text = "Initializing";
        work.technical_details =
            c.local_cache_path.empty() ? "Connecting to " + c.device_host : "Opening local cache " + c.local_cache_path;
        work.progress = 0;
        break;
    case JobStatus::Starting:
        work.text = d.job_type == JobType::FileRecovery    ? "Preparing volumes"
                    : d.job_type == JobType::VirtualExport ? "Preparing disk export"
                                                           : "Creating virtual machine " + c.vm_settings.name;
        work.technical_details = "Restore point " + c.recovery_point;
        break;
    case JobStatus::Running:
        work.progress = 0;
        break;
    case JobStatus::Stopping:
        work.text = "Stopping";
        work.technical_details.clear();
        break;
    case JobStatus::Stopped:
        work.text = d.substatus == "Completed" ? "Export completed" : "Stopped";
        work.technical_details.clear();
        if (vm)
            d.target_runtime_status = TargetRuntimeStatus::Stopped;
        break;
    case JobStatus::PendingDelete:
        work.text = "Waiting to be deleted";
        work.technical_details.clear();
        break;
    case JobStatus::Deleting:
        work.text =
            vm && job.settings.delete_created_vm ? "Deleting job data and virtual machine" : "Deleting job data";
        break;
    case JobStatus::Deleted:
        work.text = "Deleted";
        if (vm && job.settings.delete_created_vm)
            d.target_runtime_status = TargetRuntimeStatus::Deleted;
        break;
    }
    if (status == JobStatus::Running)
        advance(job);
}

// One step of a running job: progress climbs by a per-job amount.
void JobStore::advance(Job& job)
{
    JobDescription& d = job.description;
    const JobConfiguration& c = d.configuration;
    const int step = 3 + static_cast<int>(DemoData::hash(d.id) % 9);
    if (job.ticksInStatus > 0)
        d.current_work.progress = static_cast<int8_t>(std::min(100, d.current_work.progress + step));
    if (m_endless && d.current_work.progress >= 100)
        d.current_work.progress = 0;
    const bool done = d.current_work.progress >= 100;
    CurrentWork& work = d.current_work;

    switch (d.job_type) {
    case JobType::FileRecovery:
        work.text = done ? "Volumes mounted" : "Mounting volumes";
        work.technical_details = "Mount point " + c.mount_point;
        break;
    case JobType::VirtualExport: {
        const size_t disks = std::max<size_t>(1, c.disks_names.size());
        const size_t current = std::min(disks, 1 + static_cast<size_t>(work.progress) * disks / 100);
        work.text = "Exporting disks";
        work.technical_details = "Disk " + std::to_string(current) + " of " + std::to_string(disks) + " as " +
                                 CorvelService::to_string(c.virtual_disk_type);
        if (done) {
            d.substatus = "Completed";
            enter(job, JobStatus::Stopped);
        }
        break;
    }
    case JobType::Virtualization:
        work.text = done ? "Virtual machine is running" : "Restoring virtual machine disks";
        work.technical_details = "Virtual machine " + c.vm_settings.name;
        d.target_runtime_status = TargetRuntimeStatus::Running;
        break;
    }
}

void JobStore::addDemoJobs(int count)
{
    static const JobType::type types[] = {JobType::FileRecovery, JobType::VirtualExport, JobType::Virtualization};
    std::lock_guard<std::mutex> lock(m_mutex);
    for (int n = 0; n < count; ++n) {
        Job job;
        JobDescription& d = job.description;
        d.id = nextId();
        d.job_type = types[n % 3];
        d.configuration = DemoData::demoConfiguration(n, d.job_type);
        d.description = d.configuration.device_name + " restore test " + std::to_string(n + 1);
        job.settings.delete_created_vm = n % 2 == 0;
        enter(job, JobStatus::Created);
        switch (n % 7) {
        case 1:
        case 6:
            enter(job, JobStatus::Running);
            d.current_work.progress = static_cast<int8_t>(n % 7 == 1 ? 42 : 73);
            break;
        case 2:
            enter(job, JobStatus::Stopped);
            break;
        case 3:
            enter(job, JobStatus::Running);
            d.current_work.progress = 99;
            break;
        case 4:
            enter(job, JobStatus::Starting);
            break;
        case 5:
            d.substatus = "Cancelled by user";
            enter(job, JobStatus::Stopped);
            break;
        default:
            break;
        }
        m_jobs.push_back(job);
    }
    saveAfterChange();
}

std::string JobStore::createJob(JobType::type type, const std::string& description,
                                const JobConfiguration& configuration)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    Job job;
    job.description.id = nextId();
    job.description.description = description;
    job.description.configuration = configuration;
    job.description.job_type = type;
    enter(job, JobStatus::Created);
    m_jobs.push_back(job);
    saveAfterChange();
    return job.description.id;
}

void JobStore::startJob(const std::string& id)
{
    act(id, JobAction::Start, "started", JobStatus::Initializing);
}

void JobStore::stopJob(const std::string& id)
{
    act(id, JobAction::Stop, "stopped", JobStatus::Stopping);
}

void JobStore::cancelJob(const std::string& id)
{
    act(id, JobAction::Cancel, "cancelled", JobStatus::Stopping);
}

void JobStore::deleteJob(const std::string& id)
{
    act(id, JobAction::Delete, "deleted", JobStatus::PendingDelete);
}

void JobStore::act(const std::string& id, JobAction::type action, const char* verb, JobStatus::type next)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    Job& job = find(id);
    const JobStatus::type status = job.description.status;
    // Initializing offers no action yet, but a cancel that arrives then is still honoured.
    const bool lateCancel = action == JobAction::Cancel && status == JobStatus::Initializing;
    if (!lateCancel && !(job.description.actions & action))
        throw std::runtime_error("Job " + id + " cannot be " + verb + " while " + statusName(status));
    if (action == JobAction::Cancel)
        job.description.substatus = "Cancelled by user";
    enter(job, next);
    saveAfterChange();
}

JobMutableSettings JobStore::mutableSettings(const std::string& id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return find(id).settings;
}

void JobStore::setMutableSettings(const std::string& id, const JobMutableSettings& settings)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    find(id).settings = settings;
    saveAfterChange();
}

std::vector<JobDescription> JobStore::allJobs()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<JobDescription> jobs;
    jobs.reserve(m_jobs.size());
    for (const Job& job : m_jobs)
        jobs.push_back(job.description);
    return jobs;
}

int64_t JobStore::virtualMachineRam()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    int64_t total = 0;
    for (const Job& job : m_jobs)
        if (job.description.job_type == JobType::Virtualization && job.description.status != JobStatus::Deleted)
            total += job.description.configuration.vm_settings.ram_bytes;
    return total;
}

size_t JobStore::size()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_jobs.size();
}

void JobStore::tick()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (auto it = m_jobs.begin(); it != m_jobs.end();) {
        Job& job = *it;
        const JobStatus::type statusBefore = job.description.status;
        const int8_t progressBefore = job.description.current_work.progress;
        const int t = ++job.ticksInStatus;
        bool remove = false;
        switch (job.description.status) {
        case JobStatus::Initializing:
            if (t >= 1)
                enter(job, JobStatus::Starting);
            break;
        case JobStatus::Starting:
            if (t >= 2)
                enter(job, JobStatus::Running);
            break;
        case JobStatus::Running:
            if (job.description.current_work.progress < 100)
                advance(job);
            break;
        case JobStatus::Stopping:
            if (t >= 1)
                enter(job, JobStatus::Stopped);
            break;
        case JobStatus::PendingDelete:
            if (t >= 1)
                enter(job, JobStatus::Deleting);
            break;
        case JobStatus::Deleting:
            if (t >= 2)
                enter(job, JobStatus::Deleted);
            break;
        case JobStatus::Deleted:
            remove = t >= 2;
            break;
        default:
            break;
        }
        if (remove || job.description.status != statusBefore || job.description.current_work.progress != progressBefore)
            m_dirty = true;
        it = remove ? m_jobs.erase(it) : it + 1;
    }
    if (m_dirty && std::chrono::steady_clock::now() - m_lastSave >= kTickSaveInterval)
        saveAfterChange();
}

} // namespace CorvelSim
