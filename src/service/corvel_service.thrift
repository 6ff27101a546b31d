namespace cpp CorvelService

enum JobType {
    Virtualization = 0,
    FileRecovery = 1,
    VirtualExport = 2
}

enum JobStatus {
    Created = 0,
    Initializing = 1,
    Stopped = 2,
    Starting = 3,
    Running = 4,
    Stopping = 5,
    PendingDelete = 6,
    Deleting = 7,
    Deleted = 8
}

enum JobAction {
    None = 0,
    Start = 1,
    Stop = 2,
    Delete = 4,
    Cancel = 8
}

enum TargetRuntimeStatus {
    Stopped = 0,
    Running = 1,
    Deleted = 2,
    Shutdown = 3,
    ForceShutdown = 4
}

enum VirtualizationType {
    Test = 0,
    Production = 1
}

enum VirtualDiskType {
    None = 0,
    VmdkEsxi = 1,
    VmdkWorkstation = 2,
    VhdGenOne = 3,
    VhdxGenTwo = 4,
    VdiVirtualBox = 5,
    Qcow2KvmQemu = 6,
    RawKvmQemu = 7,
    VhdAzure = 8
}

enum DiskStyle {
    MBR = 0,
    GPT = 1,
    RAW = 2
}

struct CurrentWork {
    1: string text,
    2: string technical_details,
    3: byte progress
}

struct DiskVolumeInfo {
    1: i64 size
}

struct DiskInfo {
    1: string name,
    2: bool is_system,
    3: list<DiskVolumeInfo> volumes,
    4: DiskStyle style
}

struct VirtualNetwork {
    1: string id,
    2: string name
}

struct VMSettings {
    1: i32 generation,
    2: string name,
    3: i64 ram_bytes,
    4: i32 cpu_cores,
    5: bool boot_on_start,
    6: list<string> network_adapters,
    7: string storage_location,
    8: VirtualizationType virtualization_type,
    9: i32 reserve,
    10: i32 limit,
    11: i32 relative_weight
}

struct JobConfiguration {
    1: string client_name,
    2: string device_name,
    3: i64 device_id,
    4: string recovery_point,
    5: string device_host,
    6: string device_token,
    7: string local_cache_path,
    8: string local_cache_login,
    9: string local_cache_password,
    10: bool local_cache_read_only,
    11: string mount_point,
    12: VirtualDiskType virtual_disk_type,
    13: bool use_dynamic_virtual_disk,
    14: list<string> disks_names,
    15: VMSettings vm_settings
}

struct JobDescription {
    1: string id,
    2: string description,
    3: JobConfiguration configuration,
    4: JobType job_type,
    5: JobStatus status,
    6: i32 actions,
    7: CurrentWork current_work,
    8: TargetRuntimeStatus target_runtime_status,
    9: string substatus
}

struct JobMutableSettings {
    1: bool delete_created_vm
}

service CorvelService {
    string createJob(1: JobType job_type, 2: string description, 3: JobConfiguration configuration),
    void startJob(1: string job_id),
    void stopJob(1: string job_id),
    void cancelJob(1: string job_id),
    void deleteJob(1: string job_id),
    JobMutableSettings getJobMutableSettings(1: string job_id),
    void setJobMutableSettings(1: string job_id, 2: JobMutableSettings settings),
    list<JobDescription> getAllJobsInfo(),
    list<string> retrieveRestorePoints(1: string device_host, 2: string device_token),
    list<DiskInfo> retrieveMetadata(1: string device_host, 2: string device_token, 3: string timestamp),
    i64 retrieveHyperVRamBytesUsed(),
    list<VirtualNetwork> retrieveHyperVNetworks()
}
