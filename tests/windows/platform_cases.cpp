// Runs the Windows platform layer against what Wine provides: one line per case, then a count.
// scripts/test-windows prepares the prefix (registry values, this program registered as a service
// with --serve) and passes what the cases compare against.
#include "platform/platform.h"

#include <shlobj.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

using namespace CorvelPlatform;

namespace {

// Written by scripts/test-windows with `wine reg add` (32-bit view of HKEY_LOCAL_MACHINE).
const wchar_t* const Key = L"SOFTWARE\\Tolvex\\Corvel";

// --drives: the letters Wine maps in the prefix; --meminfo-kb: MemTotal of /proc/meminfo; --service:
// registered and stopped; --no-ui: no error box.
using Options = std::map<std::string, std::string>;

using Case = std::function<std::string()>; // empty: passed; else what went wrong

std::string str(unsigned long long n)
{
    return std::to_string(n);
}

// Reads one value; the case fails unless it gives `status`, `error` and `expected` (trailing NULs dropped).
Case registry(const wchar_t* key, const wchar_t* name, RegistryResult::Status status, unsigned long error,
              std::wstring expected = {})
{
    return [=]() -> std::string {
        const RegistryResult result = readRegistryValue(key, name);
        std::wstring value = result.value;
        while (!value.empty() && value.back() == L'\0')
            value.pop_back();
        if (result.status == status && result.error == error && value == expected)
            return {};
        std::string text;
        for (wchar_t c : result.value)
            text += (c >= 32 && c < 127) ? static_cast<char>(c) : '?';
        return "status " + str(static_cast<int>(result.status)) + ", error " + str(result.error) + ", read \"" + text +
               "\" (" + str(result.value.size()) + " units)";
    };
}

// A missing service is reported as such; the registered one is seen stopped, started, seen running.
std::string serviceCase(const Options& options)
{
    const auto control = systemServiceControl();
    const ServiceHandle manager = control->openManager();
    if (!manager)
        return "OpenSCManager failed, error " + str(control->lastError());
    std::string problem;
    const ServiceHandle missing = control->openService(manager, "CorvelNoSuchService");
    const unsigned long missingError = control->lastError();
    const ServiceHandle service = control->openService(manager, options.at("--service"));
    unsigned long state = 0;
    if (missing || missingError != ERROR_SERVICE_DOES_NOT_EXIST)
        problem = "a missing service: handle " + str(missing) + ", error " + str(missingError);
    else if (!service)
        problem = "OpenService failed, error " + str(control->lastError());
    else if (!control->queryState(service, state) || state != ServiceControl::Stopped)
        problem = "before the start: state " + str(state) + ", error " + str(control->lastError());
    else if (!control->startService(service))
        problem = "StartService failed, error " + str(control->lastError());
    else {
        for (int i = 0; i < 150 && control->queryState(service, state) && state != ServiceControl::Running; ++i)
            Sleep(100);
        if (state != ServiceControl::Running)
            problem = "after the start: state " + str(state);
        SERVICE_STATUS status;
        ControlService(reinterpret_cast<SC_HANDLE>(service), SERVICE_CONTROL_STOP, &status);
    }
    for (ServiceHandle handle : {missing, service, manager})
        control->closeHandle(handle);
    return problem;
}

std::string drivesCase(const Options& options)
{
    std::uint32_t expected = 0;
    for (char letter : options.at("--drives"))
        if (letter >= 'a' && letter <= 'z')
            expected |= 1u << (letter - 'a');
    const std::uint32_t cAndZ = (1u << 2) | (1u << 25);
    char text[96] = "";
    if ((expected & cAndZ) != cAndZ || logicalDrivesMask() != expected)
        std::snprintf(text, sizeof text, "mask %08x, the prefix maps %08x (%s)", logicalDrivesMask(), expected,
                      options.at("--drives").c_str());
    return text;
}

std::string memoryCase(const Options& options)
{
    const std::uint64_t total = totalPhysicalMemory();
    const unsigned long long memInfo = std::strtoull(options.at("--meminfo-kb").c_str(), nullptr, 10) * 1024;
    MEMORYSTATUSEX status;
    status.dwLength = sizeof status;
    const auto within1Percent = [total](unsigned long long other) {
        return (total > other ? total - other : other - total) * 100 <= other;
    };
    if (!GlobalMemoryStatusEx(&status) || !within1Percent(status.ullTotalPhys) || !within1Percent(memInfo))
        return str(total) + " bytes; GlobalMemoryStatusEx " + str(status.ullTotalPhys) + ", /proc/meminfo " +
               str(memInfo);
    return {};
}

// Nothing listens for shares on the loopback address, and nothing leaves the machine. The console
// reports any code but 0 as "cannot reach the local cache at PATH (system error N)".
std::string networkPathCase()
{
    const ULONGLONG start = GetTickCount64();
    const unsigned long code =
        connectNetworkPath("\\\\127.0.0.1\\corvel-missing-share\\cache", "reader", "not-a-secret");
    if (GetTickCount64() - start > 30000)
        return "took " + str((GetTickCount64() - start) / 1000) + " s";
    return code == 0 ? "reported as reachable" : std::string();
}

std::string errorBoxCase()
{
    HANDLE shown = CreateThread(
        nullptr, 0,
        [](void*) -> DWORD {
            showNativeErrorBox("Corvel error", "Failed to start: D\xc3\xa4t\xc3\xa4");
            return 0;
        },
        nullptr, 0, nullptr);
    HWND box = nullptr;
    for (int i = 0; i < 100 && !(box = FindWindowW(nullptr, L"Corvel error")); ++i)
        Sleep(100);
    if (box)
        PostMessageW(box, WM_COMMAND, IDOK, 0);
    const bool closed = WaitForSingleObject(shown, 10000) == WAIT_OBJECT_0;
    CloseHandle(shown);
    if (!box)
        return "no box with the caption appeared within 10 s";
    return closed && !FindWindowW(nullptr, L"Corvel error") ? std::string() : "the box did not close when answered";
}

// Hand-off: a folder that is gone is reported as such (no shell window), and the taskbar call
// without a window of the console's own returns instead of failing the process.
std::string handOffCase()
{
    const Desktop::Result gone = systemDesktop()->openFolder("C:\\corvel-no-such-folder\\export");
    if (gone.outcome != Desktop::Outcome::Missing || gone.error != ERROR_PATH_NOT_FOUND)
        return "missing folder: outcome " + str(static_cast<int>(gone.outcome)) + ", error " + str(gone.error);
    return setTaskbarProgress(0, TaskbarState::Error, 40) == 0 ? "the taskbar call reported success without a window"
                                                               : std::string();
}

// --serve: a service that does nothing but run until it is told to stop.
SERVICE_STATUS_HANDLE g_status = nullptr;
HANDLE g_stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);

void report(DWORD state)
{
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP : 0;
    SetServiceStatus(g_status, &status);
}

void WINAPI serviceMain(DWORD, wchar_t**)
{
    g_status = RegisterServiceCtrlHandlerExW(
        L"",
        [](DWORD code, DWORD, void*, void*) -> DWORD {
            if (code == SERVICE_CONTROL_STOP) {
                report(SERVICE_STOP_PENDING);
                SetEvent(g_stop);
            }
            return NO_ERROR;
        },
        nullptr);
    report(SERVICE_RUNNING);
    WaitForSingleObject(g_stop, INFINITE);
    report(SERVICE_STOPPED);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::string(argv[1]) == "--serve") {
        wchar_t name[] = L"";
        SERVICE_TABLE_ENTRYW table[] = {{name, serviceMain}, {nullptr, nullptr}};
        return StartServiceCtrlDispatcherW(table) ? 0 : 1;
    }
    Options options{{"--drives", ""}, {"--meminfo-kb", "0"}, {"--service", ""}};
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        options[name] = name != "--no-ui" && i + 1 < argc ? argv[++i] : "";
    }
    using Status = RegistryResult::Status;
    const std::vector<std::pair<const char*, Case>> cases = {
        {"registry: non-ASCII WorkingDir read back exactly",
         registry(Key, L"WorkingDir", Status::Ok, 0,
                  L"C:\\ProgramData\\Tolvex\\D\u00e4t\u00e4 \u2603 \u0440\u0430\u0431\u043e\u0442\u0430 \U0001F600")},
        {"registry: InstallDir read back exactly",
         registry(Key, L"InstallDir", Status::Ok, 0, L"C:\\Program Files (x86)\\Tolvex\\Corvel")},
        {"registry: missing value", registry(Key, L"NoSuchValue", Status::QueryFailed, ERROR_FILE_NOT_FOUND)},
        {"registry: missing key",
         registry(L"SOFTWARE\\Tolvex\\NoSuchKey", L"WorkingDir", Status::OpenFailed, ERROR_FILE_NOT_FOUND)},
        {"registry: value of the wrong type",
         registry(Key, L"PollSeconds", Status::QueryFailed, ERROR_UNSUPPORTED_TYPE)},
        {"services: missing one reported, registered one started", [&] { return serviceCase(options); }},
        {"drives: mask is exactly the prefix's drives", [&] { return drivesCase(options); }},
        {"memory: within 1% of GlobalMemoryStatusEx and /proc/meminfo", [&] { return memoryCase(options); }},
        {"administrator: agrees with IsUserAnAdmin",
         [] { return std::string(isUserAdmin() == (IsUserAnAdmin() != FALSE) ? "" : "IsUserAnAdmin disagrees"); }},
        {"network path: missing server fails within 30 s", networkPathCase},
        {"hand-off: missing folder reported, taskbar without a window fails cleanly", handOffCase},
        {"error box: shown and closed", options.count("--no-ui") ? Case() : Case(errorBoxCase)},
    };
    int passed = 0, failed = 0, skipped = 0;
    for (const auto& [name, run] : cases) {
        const std::string problem = run ? run() : "skipped (--no-ui)";
        const char* verdict = !run ? "SKIP" : problem.empty() ? "PASS" : "FAIL";
        std::printf("%s  %s%s%s\n", verdict, name, problem.empty() ? "" : ": ", problem.c_str());
        std::fflush(stdout);
        ++(!run ? skipped : problem.empty() ? passed : failed);
    }
    std::printf("%d passed, %d failed, %d skipped\n", passed, failed, skipped);
    return failed == 0 ? 0 : 1;
}
