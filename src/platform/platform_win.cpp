#include "platform.h"

#include <windows.h>
#include <shellapi.h>
#include <shobjidl.h>
#include <winnetwk.h>

#include <algorithm>
#include <vector>

namespace CorvelPlatform {

namespace {

std::wstring toWide(const std::string& utf8)
{
    if (utf8.empty())
        return std::wstring();
    const int size = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring out(static_cast<size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), &out[0], size);
    return out;
}

SC_HANDLE asHandle(ServiceHandle handle)
{
    return reinterpret_cast<SC_HANDLE>(handle);
}

class WinServiceControl : public ServiceControl {
public:
    ServiceHandle openManager() override
    {
        SC_HANDLE handle = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
        m_lastError = handle ? 0 : GetLastError();
        return reinterpret_cast<ServiceHandle>(handle);
    }

    ServiceHandle openService(ServiceHandle manager, const std::string& name) override
    {
        SC_HANDLE handle = OpenServiceA(asHandle(manager), name.c_str(), SERVICE_ALL_ACCESS);
        m_lastError = handle ? 0 : GetLastError();
        return reinterpret_cast<ServiceHandle>(handle);
    }

    bool queryState(ServiceHandle service, unsigned long& state) override
    {
        std::vector<BYTE> buffer(sizeof(SERVICE_STATUS_PROCESS));
        DWORD needed = 0;
        while (!QueryServiceStatusEx(asHandle(service), SC_STATUS_PROCESS_INFO, buffer.data(),
                                     static_cast<DWORD>(buffer.size()), &needed)) {
            m_lastError = GetLastError();
            if (m_lastError != ERROR_INSUFFICIENT_BUFFER)
                return false;
            buffer.resize(needed);
        }
        m_lastError = 0;
        state = reinterpret_cast<const SERVICE_STATUS_PROCESS*>(buffer.data())->dwCurrentState;
        return true;
    }

    bool startService(ServiceHandle service) override
    {
        const BOOL ok = StartServiceW(asHandle(service), 0, nullptr);
        m_lastError = ok ? 0 : GetLastError();
        return ok != FALSE;
    }

    void closeHandle(ServiceHandle handle) override
    {
        if (handle)
            CloseServiceHandle(asHandle(handle));
    }

    unsigned long lastError() const override { return m_lastError; }

private:
    DWORD m_lastError = 0;
};

} // namespace

RegistryResult readRegistryValue(const std::wstring& subKey, const std::wstring& valueName)
{
    RegistryResult result;
    HKEY key = nullptr;
    LONG status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, subKey.c_str(), 0, KEY_READ | KEY_WOW64_32KEY, &key);
    if (status != ERROR_SUCCESS) {
        result.status = RegistryResult::Status::OpenFailed;
        result.error = static_cast<unsigned long>(status);
        return result;
    }
    DWORD size = 0;
    DWORD type = REG_NONE;
    status = RegQueryValueExW(key, valueName.c_str(), nullptr, &type, nullptr, &size);
    // A number or binary data read as text would make a folder name of its bytes.
    if (status == ERROR_SUCCESS && type != REG_SZ && type != REG_EXPAND_SZ)
        status = ERROR_UNSUPPORTED_TYPE;
    if (status != ERROR_SUCCESS) {
        RegCloseKey(key);
        result.status = RegistryResult::Status::QueryFailed;
        result.error = static_cast<unsigned long>(status);
        return result;
    }
    std::wstring buffer(size / sizeof(wchar_t), L'\0');
    status = RegQueryValueExW(key, valueName.c_str(), nullptr, nullptr, reinterpret_cast<LPBYTE>(&buffer[0]), &size);
    RegCloseKey(key);
    if (status != ERROR_SUCCESS) {
        result.status = RegistryResult::Status::QueryFailed;
        result.error = static_cast<unsigned long>(status);
        return result;
    }
    result.status = RegistryResult::Status::Ok;
    result.value = buffer;
    return result;
}

bool isUserAdmin()
{
    SID_IDENTIFIER_AUTHORITY ntAuthority = SECURITY_NT_AUTHORITY;
    PSID administrators = nullptr;
    if (!AllocateAndInitializeSid(&ntAuthority, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0,
                                  0, &administrators))
        return false;
    BOOL member = FALSE;
    if (!CheckTokenMembership(nullptr, administrators, &member))
        member = FALSE;
    FreeSid(administrators);
    return member != FALSE;
}

void showNativeErrorBox(const std::string& caption, const std::string& text)
{
    MessageBoxW(nullptr, toWide(text).c_str(), toWide(caption).c_str(), MB_ICONERROR);
}

std::shared_ptr<ServiceControl> systemServiceControl()
{
    return std::make_shared<WinServiceControl>();
}

std::uint32_t logicalDrivesMask()
{
    return static_cast<std::uint32_t>(GetLogicalDrives());
}

std::uint64_t totalPhysicalMemory()
{
    MEMORYSTATUSEX status;
    status.dwLength = sizeof(status);
    if (!GlobalMemoryStatusEx(&status))
        return 0;
    return status.ullTotalPhys;
}

namespace {

std::wstring wide(const std::string& utf8)
{
    if (utf8.empty())
        return std::wstring();
    const int length = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring out(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), &out[0], length);
    return out;
}

// "\\server\share" of "\\server\share\folder\...", or empty for a local path.
std::wstring shareRoot(const std::wstring& path)
{
    if (path.size() < 3 || path[0] != L'\\' || path[1] != L'\\')
        return std::wstring();
    const size_t server = path.find(L'\\', 2);
    if (server == std::wstring::npos)
        return std::wstring();
    const size_t share = path.find(L'\\', server + 1);
    return share == std::wstring::npos ? path : path.substr(0, share);
}

} // namespace

unsigned long connectNetworkPath(const std::string& path, const std::string& login, const std::string& password)
{
    const std::wstring widePath = wide(path);
    std::wstring root = shareRoot(widePath);
    if (!root.empty()) {
        std::wstring user = wide(login);
        std::wstring secret = wide(password);
        NETRESOURCEW resource{};
        resource.dwType = RESOURCETYPE_DISK;
        resource.lpRemoteName = &root[0];
        const DWORD result = WNetAddConnection2W(&resource, secret.empty() ? nullptr : secret.c_str(),
                                                 user.empty() ? nullptr : user.c_str(), 0);
        SecureZeroMemory(&secret[0], secret.size() * sizeof(wchar_t));
        // Already connected (with these or other credentials) is fine when the folder can be read.
        if (result != NO_ERROR && result != ERROR_SESSION_CREDENTIAL_CONFLICT && result != ERROR_ALREADY_ASSIGNED)
            return result;
    }
    const DWORD attributes = GetFileAttributesW(widePath.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return GetLastError();
    if (!(attributes & FILE_ATTRIBUTE_DIRECTORY))
        return ERROR_DIRECTORY;
    return 0;
}

namespace {

// One argument of a command line as CommandLineToArgvW reads it back: quoted, with the backslashes
// before a quote doubled and the quote escaped.
std::wstring quoted(const std::wstring& argument)
{
    std::wstring out = L"\"";
    size_t backslashes = 0;
    for (wchar_t c : argument) {
        if (c == L'\\') {
            ++backslashes;
            continue;
        }
        out.append(c == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
        backslashes = 0;
        out.push_back(c);
    }
    out.append(backslashes * 2, L'\\');
    out.push_back(L'"');
    return out;
}

Desktop::Result shellOpen(const wchar_t* file, const wchar_t* parameters)
{
    SHELLEXECUTEINFOW info{};
    info.cbSize = sizeof(info);
    // No dialog of the shell's own: the console says what went wrong.
    info.fMask = SEE_MASK_FLAG_NO_UI | SEE_MASK_NOASYNC;
    info.lpVerb = L"open";
    info.lpFile = file;
    info.lpParameters = parameters;
    info.nShow = SW_SHOWNORMAL;
    if (ShellExecuteExW(&info))
        return {Desktop::Outcome::Opened, 0};
    return {Desktop::Outcome::Failed, GetLastError()};
}

class WinDesktop : public Desktop {
public:
    Result openFolder(const std::string& path) override
    {
        const std::wstring widePath = wide(path);
        if (GetFileAttributesW(widePath.c_str()) == INVALID_FILE_ATTRIBUTES) {
            const DWORD error = GetLastError();
            const bool gone = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
                              error == ERROR_INVALID_DRIVE || error == ERROR_NOT_READY || error == ERROR_BAD_NETPATH ||
                              error == ERROR_BAD_NET_NAME;
            return {gone ? Outcome::Missing : Outcome::Failed, error};
        }
        return shellOpen(widePath.c_str(), nullptr);
    }

    Result connectToVirtualMachine(const std::string& name) override
    {
        const std::wstring parameters = L"localhost " + quoted(wide(name));
        return shellOpen(L"vmconnect.exe", parameters.c_str());
    }
};

} // namespace

std::shared_ptr<Desktop> systemDesktop()
{
    return std::make_shared<WinDesktop>();
}

long setTaskbarProgress(std::uintptr_t window, TaskbarState state, int percent)
{
    const HRESULT init = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    ITaskbarList3* taskbar = nullptr;
    HRESULT result = CoCreateInstance(CLSID_TaskbarList, nullptr, CLSCTX_INPROC_SERVER, IID_ITaskbarList3,
                                      reinterpret_cast<void**>(&taskbar));
    if (SUCCEEDED(result))
        result = taskbar->HrInit();
    const HWND hwnd = reinterpret_cast<HWND>(window);
    if (SUCCEEDED(result) && !IsWindow(hwnd))
        result = HRESULT_FROM_WIN32(ERROR_INVALID_WINDOW_HANDLE);
    if (SUCCEEDED(result)) {
        const TBPFLAG flag = state == TaskbarState::Error    ? TBPF_ERROR
                             : state == TaskbarState::Normal ? TBPF_NORMAL
                                                             : TBPF_NOPROGRESS;
        result = taskbar->SetProgressState(hwnd, flag);
        if (SUCCEEDED(result) && state != TaskbarState::NoProgress)
            result = taskbar->SetProgressValue(hwnd, static_cast<ULONGLONG>(std::max(0, std::min(100, percent))), 100);
    }
    if (taskbar)
        taskbar->Release();
    if (SUCCEEDED(init))
        CoUninitialize();
    return SUCCEEDED(result) ? 0 : static_cast<long>(result);
}

} // namespace CorvelPlatform
