// Runs the Windows platform layer against what Wine provides: one line per case, then a count.
// scripts/test-windows prepares the prefix (registry values, the test service) and passes what the
// cases compare against.
#include "platform/platform.h"

#include <shlobj.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

using namespace CorvelPlatform;

namespace {

// Written by scripts/test-windows with `wine reg add` (32-bit view of HKEY_LOCAL_MACHINE).
const wchar_t* const Key = L"SOFTWARE\\Tolvex\\Corvel";
const wchar_t* const WorkingDir =
    L"C:\\ProgramData\\Tolvex\\D\u00e4t\u00e4 \u2603 \u0440\u0430\u0431\u043e\u0442\u0430 \U0001F600";
const wchar_t* const InstallDir = L"C:\\Program Files (x86)\\Tolvex\\Corvel";

struct Options {
    bool noUi = false;
    std::string drives;           // letters Wine maps in the prefix, lower case
    unsigned long long memKb = 0; // MemTotal of /proc/meminfo
    std::string service;          // registered, stopped
};

using Case = std::function<std::string()>; // empty: passed; else what went wrong

std::string narrow(const std::wstring& wide)
{
    std::string out;
    for (wchar_t c : wide)
        out += (c >= 32 && c < 127) ? static_cast<char>(c) : '?';
    return out;
}

std::wstring withoutNuls(std::wstring value)
{
    while (!value.empty() && value.back() == L'\0')
        value.pop_back();
    return value;
}

std::string expectValue(const wchar_t* name, const wchar_t* expected)
{
    const RegistryResult result = readRegistryValue(Key, name);
    if (result.status != RegistryResult::Status::Ok)
        return "status " + std::to_string(static_cast<int>(result.status)) + ", error " + std::to_string(result.error);
    if (withoutNuls(result.value) != expected)
        return "read \"" + narrow(result.value) + "\" (" + std::to_string(result.value.size()) + " units)";
    return {};
}

std::string expectFailure(const wchar_t* key, const wchar_t* name, RegistryResult::Status status, unsigned long error)
{
    const RegistryResult result = readRegistryValue(key, name);
    if (result.status != status || result.error != error)
        return "status " + std::to_string(static_cast<int>(result.status)) + ", error " + std::to_string(result.error) +
               ", value \"" + narrow(result.value) + "\"";
    return {};
}

// Runs work on its own thread; false when it did not return within the time.
bool finishesWithin(DWORD ms, const std::function<void()>& work)
{
    auto* task = new std::function<void()>(work);
    HANDLE thread = CreateThread(
        nullptr, 0,
        [](void* arg) -> DWORD {
            auto* own = static_cast<std::function<void()>*>(arg);
            (*own)();
            delete own;
            return 0;
        },
        task, 0, nullptr);
    const bool done = WaitForSingleObject(thread, ms) == WAIT_OBJECT_0;
    CloseHandle(thread);
    return done; // a thread still running is left to the end of the process
}

std::string serviceCase(const Options& options)
{
    if (options.service.empty())
        return "no --service given";
    const auto control = systemServiceControl();
    const ServiceHandle manager = control->openManager();
    if (!manager)
        return "OpenSCManager failed, error " + std::to_string(control->lastError());
    std::string problem;
    const ServiceHandle service = control->openService(manager, options.service);
    unsigned long state = 0;
    if (!service) {
        problem = "OpenService failed, error " + std::to_string(control->lastError());
    } else if (!control->queryState(service, state) || state != ServiceControl::Stopped) {
        problem =
            "before the start: state " + std::to_string(state) + ", error " + std::to_string(control->lastError());
    } else if (!control->startService(service)) {
        problem = "StartService failed, error " + std::to_string(control->lastError());
    } else {
        for (int i = 0; i < 150 && control->queryState(service, state) && state != ServiceControl::Running; ++i)
            Sleep(100);
        if (state != ServiceControl::Running)
            problem = "after the start: state " + std::to_string(state);
        SERVICE_STATUS status;
        ControlService(reinterpret_cast<SC_HANDLE>(service), SERVICE_CONTROL_STOP, &status);
    }
    control->closeHandle(service);
    control->closeHandle(manager);
    return problem;
}

std::string missingServiceCase()
{
    const auto control = systemServiceControl();
    const ServiceHandle manager = control->openManager();
    if (!manager)
        return "OpenSCManager failed, error " + std::to_string(control->lastError());
    const ServiceHandle service = control->openService(manager, "CorvelNoSuchService");
    const unsigned long error = control->lastError();
    control->closeHandle(service);
    control->closeHandle(manager);
    if (service || error != ERROR_SERVICE_DOES_NOT_EXIST)
        return "handle " + std::to_string(service) + ", error " + std::to_string(error);
    return {};
}

std::string drivesCase(const Options& options)
{
    std::uint32_t expected = 0;
    for (char letter : options.drives)
        if (letter >= 'a' && letter <= 'z')
            expected |= 1u << (letter - 'a');
    if (!(expected & (1u << 2)) || !(expected & (1u << 25)))
        return "the prefix maps no C: or Z: (--drives " + options.drives + ")";
    const std::uint32_t mask = logicalDrivesMask();
    if (mask != expected) {
        char text[64];
        std::snprintf(text, sizeof text, "mask %08x, the prefix maps %08x", mask, expected);
        return text;
    }
    return {};
}

bool within1Percent(unsigned long long a, unsigned long long b)
{
    const unsigned long long difference = a > b ? a - b : b - a;
    return difference * 100 <= b;
}

std::string memoryCase(const Options& options)
{
    const std::uint64_t total = totalPhysicalMemory();
    MEMORYSTATUSEX status;
    status.dwLength = sizeof status;
    if (!GlobalMemoryStatusEx(&status))
        return "GlobalMemoryStatusEx failed";
    if (!within1Percent(total, status.ullTotalPhys) || !within1Percent(total, options.memKb * 1024))
        return std::to_string(total) + " bytes; GlobalMemoryStatusEx " + std::to_string(status.ullTotalPhys) +
               ", /proc/meminfo " + std::to_string(options.memKb * 1024);
    return {};
}

std::string adminCase()
{
    const bool admin = isUserAdmin();
    if (admin != (IsUserAnAdmin() != FALSE))
        return std::string("isUserAdmin ") + (admin ? "true" : "false") + ", IsUserAnAdmin disagrees";
    return {};
}

std::string networkPathCase()
{
    // Nothing listens for shares on the loopback address, and nothing leaves the machine.
    unsigned long code = 0;
    const bool done = finishesWithin(30000, [&code] {
        code = connectNetworkPath("\\\\127.0.0.1\\corvel-missing-share\\cache", "reader", "not-a-secret");
    });
    if (!done)
        return "still waiting after 30 s";
    // The console reports any code but 0 as "cannot reach the local cache at PATH (system error N)".
    if (code == 0)
        return "reported as reachable";
    std::printf("      (system error %lu)\n", code);
    return {};
}

std::string errorBoxCase()
{
    const wchar_t* const caption = L"Corvel error";
    bool found = false;
    bool closed = false;
    const bool done = finishesWithin(30000, [caption, &found, &closed] {
        HANDLE shown = CreateThread(
            nullptr, 0,
            [](void*) -> DWORD {
                showNativeErrorBox("Corvel error", "Failed to start: D\xc3\xa4t\xc3\xa4");
                return 0;
            },
            nullptr, 0, nullptr);
        HWND box = nullptr;
        for (int i = 0; i < 100 && !(box = FindWindowW(nullptr, caption)); ++i)
            Sleep(100);
        found = box != nullptr;
        if (box)
            PostMessageW(box, WM_COMMAND, IDOK, 0);
        closed = WaitForSingleObject(shown, 10000) == WAIT_OBJECT_0;
        if (!closed)
            TerminateThread(shown, 1);
        CloseHandle(shown);
    });
    if (!done || !found)
        return "no box with the caption appeared within 10 s";
    if (!closed)
        return "the box did not close when answered";
    if (FindWindowW(nullptr, caption))
        return "the box is still open";
    return {};
}

// Hand-off: a folder that is gone is reported as such (no shell window), and the taskbar call
// without a window of the console's own returns instead of failing the process.
std::string handOffCase()
{
    const auto desktop = systemDesktop();
    const Desktop::Result gone = desktop->openFolder("C:\\corvel-no-such-folder\\export");
    if (gone.outcome != Desktop::Outcome::Missing || gone.error != ERROR_PATH_NOT_FOUND)
        return "missing folder: outcome " + std::to_string(static_cast<int>(gone.outcome)) + ", error " +
               std::to_string(gone.error);
    if (setTaskbarProgress(0, TaskbarState::Error, 40) == 0)
        return "the taskbar call reported success without a window";
    return {};
}

Options parse(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--no-ui")
            options.noUi = true;
        else if (arg == "--drives" && hasValue)
            options.drives = argv[++i];
        else if (arg == "--meminfo-kb" && hasValue)
            options.memKb = std::strtoull(argv[++i], nullptr, 10);
        else if (arg == "--service" && hasValue)
            options.service = argv[++i];
    }
    return options;
}

} // namespace

int main(int argc, char** argv)
{
    const Options options = parse(argc, argv);
    const std::vector<std::pair<const char*, Case>> cases = {
        {"registry: non-ASCII WorkingDir read back exactly", [] { return expectValue(L"WorkingDir", WorkingDir); }},
        {"registry: InstallDir read back exactly", [] { return expectValue(L"InstallDir", InstallDir); }},
        {"registry: missing value",
         [] { return expectFailure(Key, L"NoSuchValue", RegistryResult::Status::QueryFailed, ERROR_FILE_NOT_FOUND); }},
        {"registry: missing key",
         [] {
             return expectFailure(L"SOFTWARE\\Tolvex\\NoSuchKey", L"WorkingDir", RegistryResult::Status::OpenFailed,
                                  ERROR_FILE_NOT_FOUND);
         }},
        {"registry: value of the wrong type",
         [] {
             return expectFailure(Key, L"PollSeconds", RegistryResult::Status::QueryFailed, ERROR_UNSUPPORTED_TYPE);
         }},
        {"services: registered one seen stopped, started, seen running", [&] { return serviceCase(options); }},
        {"services: missing one reported as missing", missingServiceCase},
        {"drives: mask is exactly the prefix's drives", [&] { return drivesCase(options); }},
        {"memory: within 1% of GlobalMemoryStatusEx and /proc/meminfo", [&] { return memoryCase(options); }},
        {"administrator: agrees with IsUserAnAdmin", adminCase},
        {"network path: missing server fails within 30 s", networkPathCase},
        {"hand-off: missing folder reported, taskbar without a window fails cleanly", handOffCase},
        {"error box: shown and closed", options.noUi ? Case() : Case(errorBoxCase)},
    };
    int passed = 0, failed = 0, skipped = 0;
    for (const auto& [name, run] : cases) {
        if (!run) {
            std::printf("SKIP  %s (--no-ui)\n", name);
            ++skipped;
            continue;
        }
        const std::string problem = run();
        std::printf("%s  %s%s%s\n", problem.empty() ? "PASS" : "FAIL", name, problem.empty() ? "" : ": ",
                    problem.c_str());
        std::fflush(stdout);
        ++(problem.empty() ? passed : failed);
    }
    if (skipped)
        std::printf("%d passed, %d failed, %d skipped\n", passed, failed, skipped);
    else
        std::printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}
