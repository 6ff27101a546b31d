#pragma once

// The operator texts and log lines of the main window and its pages, exactly as the product fixes
// them. Odd spellings ("Recozery") are the product's own and kept on purpose: log readers search for them.
namespace Corvel::UiTexts {

constexpr char Corvel[] = "Corvel";
constexpr char CheckForUpdates[] = "Check for updates";
constexpr char LogOut[] = "Log out";
constexpr char HomeTab[] = "Home";
constexpr char ToolboxTab[] = "Toolbox";
constexpr char HelpCenterTab[] = "Help Center";
constexpr char CannotOpenUrl[] = "Cannot open URL: ";

// Recovery wizard.
constexpr char StartingWizard[] = "Starting Recozery wizard.";
constexpr char WizardStarted[] = "Recozery wizard started.";
constexpr char WizardRejected[] = "Recozery wizard rejected.";
constexpr char AccessError[] = "Access Error";
constexpr char AdminRefusedLog[] = "Velmora Admin user tried to start new recovery.";
constexpr char AdminRefused[] = "Velmora Admin user is not allowed to start new recovery";
constexpr char UnknownRefusedLog[] = "Unknown user tried to start new recovery.";
constexpr char TokenExpired[] = "Access token has expired. Please login and try again";
// The second answer of a failed job creation: the wizard again, every value kept.
constexpr char BackToWizard[] = "Back to Wizard";

// Updates.
constexpr char JobsInterrupted[] = "<font color=red><b>All active recovery jobs will be interrupted.</b></font>";
constexpr char UpdateAvailable[] = "The new version of Corvel %1 is available";
constexpr char UpdateQuestion[] =
    "<p>Do you want to download and install it?<br>Corvel will be automatically closed for update<br>%1</p>";
constexpr char DownloadFinished[] = "Download finished";
constexpr char UpdaterReady[] = "The Updater is downloaded and ready";
constexpr char UpdaterReadyQuestion[] =
    "<p>It will close and automatically restart the Corvel in order to process the installation<br>%1<br>Continue?</p>";
constexpr char DownloadFailed[] = "Download failed";
constexpr char DownloadFailedDetail[] = "Error: %1\n\nUpdate will be downloaded on the next application launch";
constexpr char DownloadInProcess[] = "Update downloading in process";
constexpr char CancelDownload[] = "Do you want to cancel it?";

// Sign-in.
constexpr char LoginFailed[] = "Failed to login. Corvel will be closed. Please run Corvel and try again.";

// Home, toolbox and help center
constexpr char StartNewRecovery[] = "Start New Recovery";
constexpr char DirectRestore[] = "Direct Restore";
constexpr char DirectRestoreDescription[] = "Granular Exchange & SQL Recovery";
constexpr char DownloadButton[] = "Download";
constexpr char OpeningDirectRestore[] = "Opening Direct Restore URL";
constexpr char AnalysisTool[] = "Analysis Tool";
constexpr char AnalysisToolDescription[] = "Gather logs and diagnostic data";
constexpr char LaunchTool[] = "Launch Tool";
constexpr char InstallationGuide[] = "Installation Guide";
constexpr char InstallationGuideDescription[] = "Install documentation with screenshots";
constexpr char ViewInstallationGuide[] = "View Installation Guide";
constexpr char RequestHelp[] = "Request Help";
constexpr char RequestHelpDescription[] = "Request direct support from our team";
constexpr char SubmitTicket[] = "Submit Ticket";
constexpr char OpeningAnalysisTool[] = "Opening Analysis Tool";
constexpr char AnalysisToolOpened[] = "Analysis Tool opened successfully";
constexpr char AnalysisToolFailed[] = "Analysis Tool opening failed";

// The download's progress
constexpr char Updater[] = "Updater";
constexpr char DownloadingUpdates[] = "Downloading updates";
constexpr char CancelButton[] = "Cancel";

} // namespace Corvel::UiTexts
