#pragma once

// The operator texts and log lines of the notifications, in one place.
namespace CorvelNotify::Texts {

// %1: the job ("File Recovery of FS-01, recovery point 5/30/2024 2:00 am")
constexpr char StoppedTitle[] = "Recovery job stopped";
constexpr char Stopped[] = "%1 stopped without a Stop from this console.";
constexpr char CancelledTitle[] = "Recovery job cancelled";
constexpr char Cancelled[] = "%1 was cancelled, not from this console.";
constexpr char RemovedTitle[] = "Recovery job removed";
constexpr char Removed[] = "%1 is no longer listed by the Corvel service; this console did not delete it.";
constexpr char StalledTitle[] = "Recovery job not progressing";
constexpr char Stalled[] = "%1 has shown no progress for 10 min.";
constexpr char ServiceLostTitle[] = "Corvel service unreachable";
constexpr char ServiceLost[] =
    "The Corvel service has not answered for 30 s. Job changes are not seen until it is back.";
constexpr char ServiceBackTitle[] = "Corvel service back";
constexpr char ServiceBack[] = "The Corvel service answers again.";
constexpr char MountedTitle[] = "Volumes mounted";
constexpr char Mounted[] = "%1: volumes mounted at %2.";
constexpr char VmRunningTitle[] = "Virtual machine running";
constexpr char VmRunning[] = "%1: virtual machine %2 is running.";
constexpr char ExportFinishedTitle[] = "Export finished";
constexpr char ExportFinished[] = "%1: disks exported to %2.";
constexpr char JobName[] = "%1 of %2, recovery point %3";
constexpr char JobNameWithoutPoint[] = "%1 of %2";

// Logged
constexpr char Shown[] = "Notification: %1: %2";
constexpr char ViaTray[] = "Notifications: shown by the system tray.";
constexpr char ViaBanner[] = "Notifications: no system tray here; shown in the main window.";
constexpr char TaskbarFailed[] = "Taskbar progress not shown (error 0x%1).";

// The tray icon's menu and the banner
constexpr char ShowWindow[] = "Show Corvel";
constexpr char JobHistory[] = "Job History";
constexpr char Quit[] = "Quit";
constexpr char ShowJob[] = "Show job";
constexpr char Dismiss[] = "Dismiss";

} // namespace CorvelNotify::Texts
