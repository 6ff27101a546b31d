#pragma once

// The log lines and statuses of the updater, exactly as the product fixes them. Odd wording ("Downloading
// canceled", "Wrong xml format") is the product's own and kept on purpose: log readers search for it.
namespace CVUpdater::UpdaterTexts {

// The check
constexpr char Checking[] = "Checking for updates.";
constexpr char ManualUpdateUrl[] = "Manual update will be performed using URL: ";
constexpr char ManualUpdate[] = "Manual update";
constexpr char NoRemoteVersion[] = "Cannot get remote version";
constexpr char WrongRemoteVersion[] = "Wrong remote version format";
constexpr char WrongLocalVersion[] = "Wrong local version format";
constexpr char LocalVersion[] = "Local version: ";
constexpr char RemoteVersion[] = "Remote version: ";
constexpr char NotRequired[] = "Update is not required.";
constexpr char Required[] = "Update is required.";

// The descriptor
constexpr char LookingForInfo[] = "Looking for download info at: ";
constexpr char NoReply[] = "Cannot get reply from the server";
constexpr char NoInfoSource[] = "Cannot get info source";
constexpr char WrongXml[] = "Wrong xml format";
constexpr char NoUrl[] = "Cannot get URL";
constexpr char NoVersion[] = "Cannot get version";
constexpr char NoNotice[] = "Cannot get notice";

// The download
constexpr char StartingDownload[] = "Starting download";
constexpr char DownloadingUrl[] = "Downloading request URL: ";
constexpr char DownloadFinished[] = "Download finished.";
constexpr char CannotOpenFileLog[] = "Cannot open file: ";
constexpr char CannotOpenFile[] = "Cannot open file";
constexpr char CannotWriteFile[] = "Cannot write file";
constexpr char NoReplyLog[] = "Cannot get reply from the server.";
constexpr char CannotSaveFileLog[] = "Cannot save file: ";
constexpr char CannotSaveFile[] = "Cannot save file";
constexpr char DownloadCanceledLog[] = "Downloading canceled.";
constexpr char DownloadCanceled[] = "Downloading canceled";
constexpr char Cancelling[] = "Cancelling update.";
constexpr char UpdateCanceledLog[] = "Update canceled.";
constexpr char UpdateCanceled[] = "Update canceled";
constexpr char RunningLog[] = "Running update.";
constexpr char Running[] = "Running update";
constexpr char UnexpectedStateLog[] = "Unexpected state of updater.";
constexpr char UnexpectedState[] = "Unexpected state";

} // namespace CVUpdater::UpdaterTexts
