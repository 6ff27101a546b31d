#pragma once

// The operator texts and log lines of the jobs monitor, exactly as the product fixes them. Odd
// spellings and punctuation here are kept on purpose: operators, scripts and tests know them so.
namespace CvJobs::Texts {

// The table
constexpr char NoActiveJobs[] = "No Active Jobs";
constexpr const char* Captions[] = {"JOB TYPE",       "STATUS",      "CLIENT",      "DEVICE NAME",
                                    "RECOVERY POINT", "LOCAL CACHE", "DESCRIPTION", "ACTION"};
constexpr char NoValue[] = "none";
constexpr char CopyDetails[] = "Copy details";

// Job types and actions
constexpr char Virtualization[] = "Virtualization";
constexpr char FileRecovery[] = "File Recovery";
constexpr char VirtualExport[] = "Virtual Export";
constexpr char Unknown[] = "unknown";
constexpr char PleaseWait[] = "Please wait";
constexpr char Start[] = "Start";
constexpr char Stop[] = "Stop";
constexpr char DeleteJob[] = "Delete Job";
constexpr char Cancel[] = "Cancel";

// Row actions, logged
constexpr char OnStartJob[] = "onStartJob";
constexpr char OnStopJob[] = "onStopJob";
constexpr char OnCancelJob[] = "onCancelJob";
constexpr char OnDeleteJob[] = "onDeleteJob";
constexpr char AskAboutVm[] = "Ask user about VM deletion.";
constexpr char DeleteVm[] = "Delete VM during job deletion.";
constexpr char KeepVm[] = "Keep VM.";
constexpr char AbortDeletion[] = "Abort job deletion.";

// The VM deletion dialogs
constexpr char DeleteVmTitle[] = "Delete Virtual Machine";
constexpr char DeleteVmQuestion[] = "Delete Virtual Machine Created by this job?<br>This will destroy any data changes "
                                    "made to the virtual machine while<br>running during recovery!";
constexpr char DeleteVmYes[] = "YES - Delete this virtual machine from the Hyper-V host";
constexpr char DeleteVmNo[] = "NO - Leave this virtual machine on the Hyper-V host";
constexpr char Save[] = "Save";
constexpr char AreYouSure[] = "ARE YOU SURE?";
constexpr char ConfirmDelete[] = "Yes - Delete Virtual Machine";
constexpr char ConfirmKeep[] = "No - Keep Virtual Machine";

// The job-started window
constexpr char StartedTitle[] = "Recovery Job";
constexpr char StartedHeading[] = "Recovery Started!";
constexpr char FileRecoveryStarted[] = "File Recovery Started!";
constexpr char ExportStarted[] = "Export Recovery Started!";
constexpr char StartedSubHeading[] = "<b>Review Job Status in the Recovery Jobs Table</b>";
constexpr char StartedDescription[] =
    "Recovery job has been started and is running in the background.<br/>Review status from the main window in "
    "the Recovery Jobs table.<br/>Once the job is in Running state your selected Protected System<br/>volumes "
    "will be mounted as you specified during job creation.<br/><br/>You may close the application, mounted "
    "filesystems will remain<br/>persistent until Recovery Jobs are stopped or deleted.";
constexpr char Close[] = "Close";

// Hand-off from a row's menu (%1: a path or a virtual machine's name, %2: the job's id)
constexpr char OpenFolder[] = "Open %1";
constexpr char OpenExportFolder[] = "Open export folder";
constexpr char ConnectVm[] = "Connect to virtual machine";
constexpr char CopyPath[] = "Copy path";
constexpr char NoLongerThere[] = "%1 does not exist any more.";
constexpr char CannotOpen[] = "Cannot open %1 (system error %2).";
constexpr char CannotConnect[] = "Cannot start vmconnect.exe for virtual machine %1 (system error %2).";
constexpr char Opened[] = "Opened %1 for job %2.";
constexpr char WouldOpen[] = "Would open %1 for job %2: nothing on this system opens it.";
constexpr char Connecting[] = "Connecting to virtual machine %1 for job %2.";
constexpr char WouldConnect[] = "Would connect to virtual machine %1 for job %2: vmconnect.exe is on Windows only.";

} // namespace CvJobs::Texts
