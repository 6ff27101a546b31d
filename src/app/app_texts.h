#pragma once

// The operator texts and log lines of start-up, exactly as the product fixes them. Odd spellings
// ("intialized", "initialze") are the product's own and kept on purpose: log readers search for them.
namespace Corvel::AppTexts {

// Start-up
constexpr char LoggingFailed[] = "Failed to initialize logging.\n";
constexpr char LoggingInitialized[] = "Logging intialized.";
constexpr char ConfigFailedLog[] = "Failed to load config. Corvel will be closed.";
constexpr char CorvelError[] = "Corvel error";
constexpr char ConfigFailed[] = "Failed to open config.json file. Please make sure that file exists";
constexpr char NotAdminLog[] = "Admin rights required, but user is not admin. Corvel will be closed.";
constexpr char AccessDenied[] = "Access denied";
constexpr char NotAdmin[] = "Please login with administrator privileges and try again";
constexpr char IconFontFailedLog[] = "Failed to initialize icon-font. Corvel will be closed.";
constexpr char IconFontFailed[] = "Failed to initialze icon-font. Corvel will be closed";
constexpr char ServicesFailedLog[] = "Failed to start services. Corvel will be closed.";
constexpr char ServicesError[] = "Services error";
constexpr char ServicesFailed[] =
    "Failed to connect to services. Please make sure that Microsoft iSCSI Initiator Service, Tolvex Virtual Disk "
    "Service and Tolvex Corvel Service are installed and running";
constexpr char NoClientLog[] = "Failed to create Corvel Service client. Corvel will be closed.";
constexpr char NoClient[] =
    "Failed to connect to Corvel service, please make sure that the service is installed and running";
constexpr char CreatingMainWindow[] = "Creating main window.";

// The service starter
constexpr char AllRunning[] = "all running";
constexpr char StartingServices[] = "Starting Services...";
constexpr char CancelButton[] = "&Cancel";
constexpr char PleaseWait[] = "Please Wait";
constexpr char CancelledByUser[] = "failed to start the service. Operation is cancelled by user.";
constexpr char WaitExpired[] = "failed to start the service. Waiting time has expired.";
constexpr char QueryStatusFailed[] = " QueryServiceStatusEx failed. Error=";
constexpr char NoHandle[] = "failed to get handle to ";
constexpr char NoHandleError[] = " service. Error=";
constexpr char StartFailed[] = "failed to start the service. Error=";

} // namespace Corvel::AppTexts
