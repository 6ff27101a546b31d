#include "platform.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace CorvelPlatform {

namespace {

std::string narrow(const std::wstring& text)
{
    std::string out;
    for (wchar_t c : text)
        out.push_back(c < 0x80 ? static_cast<char>(c) : '?');
    return out;
}

// UTF-8 to wide text; malformed bytes become U+FFFD.
std::wstring widen(const char* text)
{
    std::wstring out;
    const auto* p = reinterpret_cast<const unsigned char*>(text);
    while (*p) {
        unsigned c = *p++;
        int more = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : 0;
        if (c >= 0x80 && more == 0) {
            out.push_back(0xFFFD);
            continue;
        }
        unsigned code = more ? (c & (0x3F >> more)) : c;
        bool ok = true;
        for (int i = 0; i < more; ++i) {
            if ((*p & 0xC0) != 0x80) {
                ok = false;
                break;
            }
            code = (code << 6) | (*p++ & 0x3F);
        }
        out.push_back(ok ? static_cast<wchar_t>(code) : 0xFFFD);
    }
    return out;
}

// There is no service manager here: every service counts as running.
class PosixServiceControl : public ServiceControl {
public:
    ServiceHandle openManager() override { return 1; }
    ServiceHandle openService(ServiceHandle, const std::string&) override { return 2; }
    bool queryState(ServiceHandle, unsigned long& state) override
    {
        state = Running;
        return true;
    }
    bool startService(ServiceHandle) override { return true; }
    void closeHandle(ServiceHandle) override {}
    unsigned long lastError() const override { return 0; }
};

// "E:\", "E:" or "\\server\share": a path only Windows can open.
bool isWindowsPath(const std::string& path)
{
    const bool drive = path.size() >= 2 && path[1] == ':' &&
                       ((path[0] >= 'A' && path[0] <= 'Z') || (path[0] >= 'a' && path[0] <= 'z'));
    return drive || path.rfind("\\\\", 0) == 0;
}

std::string findOnPath(const char* program)
{
    const char* path = std::getenv("PATH");
    std::string folders = path ? path : "/usr/bin:/bin";
    size_t start = 0;
    while (start <= folders.size()) {
        const size_t end = std::min(folders.find(':', start), folders.size());
        const std::string candidate = folders.substr(start, end - start) + "/" + program;
        if (end > start && access(candidate.c_str(), X_OK) == 0)
            return candidate;
        start = end + 1;
    }
    return {};
}

// Runs `program path` detached: the grandchild is adopted by init, so no zombie is left behind.
bool spawnDetached(const std::string& program, const std::string& argument)
{
    const pid_t child = fork();
    if (child < 0)
        return false;
    if (child == 0) {
        if (fork() == 0) {
            setsid();
            execl(program.c_str(), program.c_str(), argument.c_str(), static_cast<char*>(nullptr));
        }
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return true;
}

class PosixDesktop : public Desktop {
public:
    Result openFolder(const std::string& path) override
    {
        if (isWindowsPath(path))
            return {Outcome::NotHere, 0};
        struct stat info {};
        if (stat(path.c_str(), &info) != 0)
            return {errno == ENOENT || errno == ENOTDIR ? Outcome::Missing : Outcome::Failed,
                    static_cast<unsigned long>(errno)};
        const std::string opener = findOnPath("xdg-open");
        if (opener.empty())
            return {Outcome::NotHere, 0};
        return spawnDetached(opener, path) ? Result{Outcome::Opened, 0}
                                           : Result{Outcome::Failed, static_cast<unsigned long>(errno)};
    }

    // Hyper-V and its connection tool exist only on Windows.
    Result connectToVirtualMachine(const std::string&) override { return {Outcome::NotHere, 0}; }
};

} // namespace

RegistryResult readRegistryValue(const std::wstring&, const std::wstring& valueName)
{
    // The installer's registry values are stood in for by environment variables.
    RegistryResult result;
    std::string name;
    if (valueName == L"InstallDir")
        name = "CORVEL_INSTALL_DIR";
    else if (valueName == L"WorkingDir")
        name = "CORVEL_WORKING_DIR";
    else
        name = "CORVEL_" + narrow(valueName);
    const char* value = std::getenv(name.c_str());
    if (!value) {
        result.status = RegistryResult::Status::QueryFailed;
        result.error = 2; // ERROR_FILE_NOT_FOUND
        return result;
    }
    result.status = RegistryResult::Status::Ok;
    result.value = widen(value);
    return result;
}

bool isUserAdmin()
{
    return true;
}

void showNativeErrorBox(const std::string& caption, const std::string& text)
{
    std::fprintf(stderr, "%s: %s\n", caption.c_str(), text.c_str());
    std::fflush(stderr);
}

std::shared_ptr<ServiceControl> systemServiceControl()
{
    return std::make_shared<PosixServiceControl>();
}

std::uint32_t logicalDrivesMask()
{
    return 0x7;
}

std::uint64_t totalPhysicalMemory()
{
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGE_SIZE);
    if (pages <= 0 || pageSize <= 0)
        return 0;
    return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
}

unsigned long connectNetworkPath(const std::string& path, const std::string&, const std::string&)
{
    // No shares to connect here: the path must be a folder this process can list.
    struct stat info {};
    if (stat(path.c_str(), &info) != 0)
        return static_cast<unsigned long>(errno);
    if (!S_ISDIR(info.st_mode))
        return ENOTDIR;
    if (access(path.c_str(), R_OK | X_OK) != 0)
        return static_cast<unsigned long>(errno);
    return 0;
}

std::shared_ptr<Desktop> systemDesktop()
{
    return std::make_shared<PosixDesktop>();
}

long setTaskbarProgress(std::uintptr_t, TaskbarState, int)
{
    return 0;
}

} // namespace CorvelPlatform
