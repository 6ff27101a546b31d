#pragma once

#include "corvel_service_types.h"

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

namespace CorvelSim {

// The jobs of the simulated service and their state machine. Thread-safe; the methods that
// refuse a request throw std::runtime_error with the reason (the caller sees an application
// exception).
class JobStore {
public:
    explicit JobStore(std::string stateFile = {});

    // Reads the state file if there is one; false with a reason when it cannot be used.
    bool load(std::string& error);
    // Writes the state file (when one is set) atomically; false with a reason on failure.
    bool save(std::string& error);

    void addDemoJobs(int count);
    // Running jobs start over instead of finishing (a table that never settles, for measuring).
    void setEndless(bool endless) { m_endless = endless; }

    std::string createJob(CorvelService::JobType::type type, const std::string& description,
                          const CorvelService::JobConfiguration& configuration);
    void startJob(const std::string& id);
    void stopJob(const std::string& id);
    void cancelJob(const std::string& id);
    void deleteJob(const std::string& id);
    CorvelService::JobMutableSettings mutableSettings(const std::string& id);
    void setMutableSettings(const std::string& id, const CorvelService::JobMutableSettings& settings);
    std::vector<CorvelService::JobDescription> allJobs();

    // Advances every job by one step of its state machine.
    void tick();

    size_t size();
    // Memory of the virtual machines of the virtualization jobs.
    int64_t virtualMachineRam();

private:
    struct Job {
        CorvelService::JobDescription description;
        CorvelService::JobMutableSettings settings;
        int ticksInStatus = 0;
    };

    Job& find(const std::string& id);
    std::string nextId();
    void enter(Job& job, CorvelService::JobStatus::type status);
    // Checks that the job allows the action now, then moves it on.
    void act(const std::string& id, CorvelService::JobAction::type action, const char* verb,
             CorvelService::JobStatus::type next);
    void advance(Job& job);
    void saveAfterChange();
    bool saveLocked(std::string& error);

    std::mutex m_mutex;
    bool m_endless = false;
    std::string m_stateFile;
    std::vector<Job> m_jobs;
    int m_nextNumber = 1;
    bool m_dirty = false;
    std::chrono::steady_clock::time_point m_lastSave;
};

} // namespace CorvelSim
