#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

// Every call into the operating system lives behind these declarations. The Windows build
// implements them with Win32 (platform_win.cpp); everything else uses platform_posix.cpp.
namespace CorvelPlatform {

// Result of a registry read: the raw UTF-16 value (NULs included) or the step that failed.
struct RegistryResult {
    enum class Status { Ok, OpenFailed, QueryFailed };
    Status status = Status::OpenFailed;
    std::wstring value;
    unsigned long error = 0;
};

// Reads a REG_SZ value under HKEY_LOCAL_MACHINE from the 32-bit registry view; a value of another
// type fails the query.
RegistryResult readRegistryValue(const std::wstring& subKey, const std::wstring& valueName);

// True when the process belongs to the built-in Administrators group.
bool isUserAdmin();

// Native error box for the time before any Qt object exists (UTF-8 texts).
void showNativeErrorBox(const std::string& caption, const std::string& text);

// Service control. Handles are opaque; 0 means "none".
using ServiceHandle = std::uintptr_t;

class ServiceControl {
public:
    enum State : unsigned long { Stopped = 1, StartPending = 2, StopPending = 3, Running = 4 };

    virtual ~ServiceControl() = default;
    // Each returns 0 on failure; lastError() then holds the system error code.
    virtual ServiceHandle openManager() = 0;
    virtual ServiceHandle openService(ServiceHandle manager, const std::string& name) = 0;
    // Fills the current state; on failure returns false and lastError() says why.
    virtual bool queryState(ServiceHandle service, unsigned long& state) = 0;
    virtual bool startService(ServiceHandle service) = 0;
    virtual void closeHandle(ServiceHandle handle) = 0;
    virtual unsigned long lastError() const = 0;
};

// The machine's real service manager (on systems without one, every service reports running).
std::shared_ptr<ServiceControl> systemServiceControl();

// Bit mask of drive letters in use (bit 0 = A).
std::uint32_t logicalDrivesMask();

// Total physical memory in bytes, 0 when unknown.
std::uint64_t totalPhysicalMemory();

// Makes a local-cache path reachable (UTF-8). A network share path (\\server\share\...) is
// connected with the credentials, either of which may be empty; then the path must be an existing,
// readable folder. 0 on success, else the system error code.
unsigned long connectNetworkPath(const std::string& path, const std::string& login, const std::string& password);

// Hands a job's result to the desktop (UTF-8 texts). Missing: the path is not there (any more);
// NotHere: nothing on this system can open it, so the caller says what would have opened.
class Desktop {
public:
    enum class Outcome { Opened, Missing, NotHere, Failed };
    struct Result {
        Outcome outcome = Outcome::Failed;
        unsigned long error = 0;
    };

    virtual ~Desktop() = default;
    // A folder (a mounted volume, an export folder) in the file manager.
    virtual Result openFolder(const std::string& path) = 0;
    // The Hyper-V connection tool on a virtual machine of this host.
    virtual Result connectToVirtualMachine(const std::string& name) = 0;
};

std::shared_ptr<Desktop> systemDesktop();

enum class TaskbarState { NoProgress, Normal, Error };

// The taskbar button of a native window: `percent` (0 to 100) shown in `state`. 0 on success, else
// the error (an HRESULT); nothing to do, and 0, on systems without such a button.
long setTaskbarProgress(std::uintptr_t window, TaskbarState state, int percent);

} // namespace CorvelPlatform
