#include "demo_data.h"

#include <map>

#include <cstdio>

namespace CorvelSim {
namespace DemoData {

using namespace CorvelService;

namespace {

const int64_t kMiB = 1024LL * 1024;
const int64_t kGiB = 1024 * kMiB;

// Successive pseudo-random values from one seed (splitmix64).
class Sequence {
public:
    explicit Sequence(uint64_t seed)
        : m_state(seed)
    {
    }
    uint64_t next()
    {
        uint64_t z = (m_state += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }
    int below(int bound) { return static_cast<int>(next() % static_cast<uint64_t>(bound)); }

private:
    uint64_t m_state;
};

std::string pointName(const QDate& day, int hour, int minute, int second)
{
    char text[32];
    std::snprintf(text, sizeof text, "%04d_%02d_%02d_%02d_%02d_%02d", day.year(), day.month(), day.day(), hour, minute,
                  second);
    return text;
}

} // namespace

uint64_t hash(const std::string& text)
{
    uint64_t h = 0xcbf29ce484222325ULL; // FNV-1a
    for (unsigned char c : text) {
        h ^= c;
        h *= 0x100000001b3ULL;
    }
    return h;
}

std::vector<std::string> restorePoints(const std::string& deviceHost, const std::string& deviceToken,
                                       const QDate& today)
{
    std::vector<std::string> points;
    // The newly protected laptop of the demo data has no backups yet.
    if (deviceToken.rfind(kNoRestorePointsToken, 0) == 0)
        return points;
    Sequence random(hash(deviceHost + '\n' + deviceToken));
    const int malformedDay = 3 + random.below(20);
    for (int back = 60; back >= 0; --back) {
        const QDate day = today.addDays(-back);
        // About one day in three has no point; busy days have up to four.
        const int roll = random.below(9);
        const int count = roll < 3 ? 0 : roll < 6 ? 1 : roll < 8 ? 2 : 4;
        int hour = random.below(6);
        for (int i = 0; i < count && hour < 24; ++i) {
            points.push_back(pointName(day, hour, random.below(60), random.below(60)));
            hour += 1 + random.below(6);
        }
        if (back == malformedDay)
            points.push_back(pointName(day, 25, 61, 7)); // not a valid time of day
    }
    return points;
}

std::vector<DiskInfo> metadata(const std::string& deviceHost, const std::string& deviceToken,
                               const std::string& timestamp)
{
    Sequence random(hash(deviceHost + '\n' + deviceToken + '\n' + timestamp));
    const int diskCount = 1 + random.below(4);
    std::vector<DiskInfo> disks;
    for (int d = 0; d < diskCount; ++d) {
        DiskInfo disk;
        disk.name = "Disk " + std::to_string(d);
        disk.is_system = d == 0;
        disk.style = random.below(3) == 0 ? DiskStyle::MBR : DiskStyle::GPT;
        std::vector<int64_t> sizes;
        if (disk.is_system) {
            if (disk.style == DiskStyle::GPT)
                sizes = {100 * kMiB, 16 * kMiB, (40 + 20 * random.below(12)) * kGiB, 650 * kMiB};
            else
                sizes = {500 * kMiB, (40 + 20 * random.below(12)) * kGiB};
        } else {
            const int volumes = 1 + random.below(3);
            for (int v = 0; v < volumes; ++v)
                sizes.push_back((50 + 50 * random.below(40)) * kGiB + random.below(1024) * kMiB);
        }
        for (int64_t size : sizes) {
            DiskVolumeInfo volume;
            volume.size = size;
            disk.volumes.push_back(volume);
        }
        disks.push_back(disk);
    }
    return disks;
}

int64_t hyperVRamBytesUsed()
{
    return 6 * kGiB + 512 * kMiB;
}

std::vector<VirtualNetwork> hyperVNetworks()
{
    std::vector<VirtualNetwork> networks(3);
    networks[0].id = "c08cb7b8-9b3c-408e-8e30-5e16a3aeb444";
    networks[0].name = "Default Switch";
    networks[1].id = "5f2a91d0-3e47-4b6c-9d1e-7a0c2b8f4e13";
    networks[1].name = "External Uplink";
    networks[2].id = "a41e6c2f-8d05-4f97-b3a8-19e2d7c6b550";
    networks[2].name = "Isolated Lab";
    return networks;
}

JobConfiguration demoConfiguration(int n, JobType::type type)
{
    static const char* const clients[] = {"Harrowgate Dental", "Mossbank Freight", "Quillon & Reyes",
                                          "Tarn Valley Schools"};
    static const char* const devices[] = {"FS-01", "SQL-PROD", "DC-02", "RECEPTION-PC", "APP-03", "BUILD-07"};

    JobConfiguration c;
    c.client_name = clients[n % 4];
    c.device_name = devices[n % 6];
    c.device_id = 40210 + n;
    c.device_host = "backup-" + std::to_string(1 + n % 3) + ".cloud.invalid";
    c.device_token = "demo-device-token-" + std::to_string(n);
    const auto points = restorePoints(c.device_host, c.device_token, QDate(2024, 5, 31));
    c.recovery_point = points.empty() ? "2024_05_30_02_00_00" : points.back();
    if (n % 5 == 4) {
        c.local_cache_path = "\\\\nas-01\\corvel-cache";
        c.local_cache_login = "cache-reader";
        c.local_cache_read_only = true;
    }
    switch (type) {
    case JobType::FileRecovery:
        c.mount_point = std::string(1, static_cast<char>('E' + n % 20)) + ":\\";
        break;
    case JobType::VirtualExport:
        c.virtual_disk_type = static_cast<VirtualDiskType::type>(1 + n % 8);
        c.use_dynamic_virtual_disk = n % 2 == 0;
        c.disks_names = {"Disk 0", "Disk 1"};
        break;
    case JobType::Virtualization:
        c.virtual_disk_type = VirtualDiskType::VhdxGenTwo;
        c.disks_names = {"Disk 0"};
        c.vm_settings.generation = 2;
        c.vm_settings.name = c.device_name + "-recovered";
        c.vm_settings.ram_bytes = 4 * kGiB;
        c.vm_settings.cpu_cores = 2;
        c.vm_settings.boot_on_start = true;
        c.vm_settings.network_adapters = {hyperVNetworks()[0].id};
        c.vm_settings.storage_location = "D:\\Hyper-V\\" + c.vm_settings.name;
        c.vm_settings.virtualization_type = n % 2 ? VirtualizationType::Production : VirtualizationType::Test;
        c.vm_settings.limit = 100;
        c.vm_settings.relative_weight = 100;
        break;
    }
    return c;
}

std::string encryptionPassphrase(int64_t deviceId)
{
    // Kept in step with tools/cloud-sim/cloud_sim.py.
    static const std::map<int64_t, std::string> passphrases = {
        {1001, "amber-falcon-42"},   {1002, "copper-heron-17"},  {1003, "slate-otter-88"},   {1201, "linen-kite-05"},
        {1301, "quiet river stone"}, {2101, "birch-lantern-31"}, {3101, "cobalt-meadow-64"},
    };
    const auto it = passphrases.find(deviceId);
    return it == passphrases.end() ? std::string() : it->second;
}

} // namespace DemoData
} // namespace CorvelSim
