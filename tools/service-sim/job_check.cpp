#include "job_check.h"

#include "demo_data.h"
#include "localcache/local_cache_check.h"

#include <algorithm>
#include <sstream>

namespace CorvelSim {

using namespace CorvelService;

namespace {

// Tokens the cloud hands out: "device-token-DEVICE-DATASOURCE".
bool issuedToken(const std::string& token)
{
    const std::string prefix = "device-token-";
    if (token.compare(0, prefix.size(), prefix) != 0)
        return false;
    const std::string rest = token.substr(prefix.size());
    const size_t dash = rest.find('-');
    const auto digits = [](const std::string& text) {
        return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    };
    return dash != std::string::npos && digits(rest.substr(0, dash)) && digits(rest.substr(dash + 1));
}

bool contains(const std::vector<std::string>& list, const std::string& value)
{
    return std::find(list.begin(), list.end(), value) != list.end();
}

std::string masked(const std::string& secret)
{
    return secret.empty() ? std::string() : "***";
}

std::string joined(const std::vector<std::string>& list)
{
    std::string text = "[";
    for (size_t i = 0; i < list.size(); ++i)
        text += (i ? "," : "") + list[i];
    return text + "]";
}

} // namespace

std::string jobRefusal(JobType::type type, const JobConfiguration& c, const QDate& today, std::int64_t memoryLeft)
{
    if (type != JobType::Virtualization && type != JobType::FileRecovery && type != JobType::VirtualExport)
        return "job_type: unknown job type " + std::to_string(type);
    if (c.device_host.empty())
        return "device_host: missing";
    if (!issuedToken(c.device_token))
        return "device_token: not a token the cloud issued";
    const std::vector<std::string> points = DemoData::restorePoints(c.device_host, c.device_token, today);
    if (!contains(points, c.recovery_point))
        return "recovery_point: " + c.recovery_point + " is not a restore point of this device";
    if (type != JobType::FileRecovery) {
        if (c.disks_names.empty())
            return "disks_names: no disk chosen";
        std::vector<std::string> disks;
        for (const DiskInfo& disk : DemoData::metadata(c.device_host, c.device_token, c.recovery_point))
            disks.push_back(disk.name);
        for (const std::string& name : c.disks_names)
            if (!contains(disks, name))
                return "disks_names: no disk " + name + " in this restore point";
    }
    if (c.mount_point.empty())
        return "mount_point: missing";
    if (!c.local_cache_path.empty()) {
        const std::int32_t result =
            Corvel::checkLocalCache(c.local_cache_path, c.local_cache_login, c.local_cache_password,
                                    DemoData::encryptionPassphrase(c.device_id));
        if (result != Corvel::LocalCacheOpened && result != Corvel::LocalCacheNotWritable)
            return "local_cache_path: the local cache does not open (" + std::to_string(result) + ": " +
                   Corvel::describeLocalCacheCheck(result) + ")";
    }
    if (type != JobType::Virtualization)
        return {};
    const VMSettings& vm = c.vm_settings;
    if (vm.name.empty())
        return "vm_settings.name: missing";
    if (vm.ram_bytes <= 0 || vm.ram_bytes > memoryLeft)
        return "vm_settings.ram_bytes: " + std::to_string(vm.ram_bytes) + " is more than the host has left (" +
               std::to_string(memoryLeft) + ")";
    if (vm.generation != 1 && vm.generation != 2)
        return "vm_settings.generation: " + std::to_string(vm.generation) + " is neither 1 nor 2";
    std::vector<std::string> networks;
    for (const VirtualNetwork& network : DemoData::hyperVNetworks()) {
        networks.push_back(network.name);
        networks.push_back(network.id);
    }
    for (const std::string& adapter : vm.network_adapters)
        if (!contains(networks, adapter))
            return "vm_settings.network_adapters: no network " + adapter;
    return {};
}

std::string describe(const JobConfiguration& c)
{
    std::ostringstream out;
    out << "client_name=\"" << c.client_name << "\" device_name=\"" << c.device_name << "\" device_id=" << c.device_id
        << " recovery_point=" << c.recovery_point << " device_host=" << c.device_host
        << " device_token=" << masked(c.device_token) << " local_cache_path=\"" << c.local_cache_path
        << "\" local_cache_login=" << masked(c.local_cache_login)
        << " local_cache_password=" << masked(c.local_cache_password)
        << " local_cache_read_only=" << c.local_cache_read_only << " mount_point=\"" << c.mount_point
        << "\" virtual_disk_type=" << to_string(c.virtual_disk_type)
        << " use_dynamic_virtual_disk=" << c.use_dynamic_virtual_disk << " disks_names=" << joined(c.disks_names);
    const VMSettings& vm = c.vm_settings;
    out << " vm.generation=" << vm.generation << " vm.name=\"" << vm.name << "\" vm.ram_bytes=" << vm.ram_bytes
        << " vm.cpu_cores=" << vm.cpu_cores << " vm.boot_on_start=" << vm.boot_on_start
        << " vm.network_adapters=" << joined(vm.network_adapters) << " vm.storage_location=\"" << vm.storage_location
        << "\" vm.virtualization_type=" << to_string(vm.virtualization_type) << " vm.reserve=" << vm.reserve
        << " vm.limit=" << vm.limit << " vm.relative_weight=" << vm.relative_weight;
    return out.str();
}

} // namespace CorvelSim
