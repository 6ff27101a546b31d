// A service that does nothing but run until it is told to stop, for the service-control cases.
#include <windows.h>

namespace {

SERVICE_STATUS_HANDLE g_status = nullptr;
HANDLE g_stop = nullptr;

void report(DWORD state)
{
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP : 0;
    SetServiceStatus(g_status, &status);
}

DWORD WINAPI control(DWORD code, DWORD, void*, void*)
{
    if (code == SERVICE_CONTROL_STOP) {
        report(SERVICE_STOP_PENDING);
        SetEvent(g_stop);
    }
    return NO_ERROR;
}

void WINAPI serviceMain(DWORD, wchar_t**)
{
    g_status = RegisterServiceCtrlHandlerExW(L"", control, nullptr);
    if (!g_status)
        return;
    g_stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    report(SERVICE_RUNNING);
    WaitForSingleObject(g_stop, INFINITE);
    report(SERVICE_STOPPED);
}

} // namespace

int main()
{
    wchar_t name[] = L"";
    SERVICE_TABLE_ENTRYW table[] = {{name, serviceMain}, {nullptr, nullptr}};
    return StartServiceCtrlDispatcherW(table) ? 0 : 1;
}
