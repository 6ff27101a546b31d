#pragma once

// The names of the icon-font glyphs the console draws, as the font's own table spells them
// (tools/iconfont/mapping.tsv, bundled as res/velmora-iconfont.json). No code point is written
// anywhere else.
namespace CorvelWidgets::Glyph {

constexpr char AnalysisTool[] = "analysis_tool";
constexpr char BareMetal[] = "bare_metal";
constexpr char Calendar[] = "calendar";
constexpr char Close[] = "close";
constexpr char Download[] = "download";
constexpr char Folder[] = "recover_files";
constexpr char Help[] = "help";
constexpr char Home[] = "home";
constexpr char InstallationGuide[] = "installation_guide";
constexpr char JobRunning[] = "job_running";
constexpr char JobStopped[] = "job_stopped";
constexpr char Left[] = "left";
constexpr char NewRecovery[] = "new_recovery";
constexpr char Next[] = "next";
constexpr char Production[] = "production";
constexpr char RecoveryIso[] = "recovery_iso";
constexpr char RequestHelp[] = "request_help";
constexpr char Right[] = "right";
constexpr char Search[] = "search";
constexpr char StartRecovery[] = "start_recovery";
constexpr char Test[] = "test";
constexpr char Toolbox[] = "toolbox";
constexpr char User[] = "user";
constexpr char VirtualDiskExport[] = "virtual_disk_export";
constexpr char Virtualize[] = "virtualize";

constexpr const char* All[] = {
    AnalysisTool,      BareMetal,  Calendar,   Close,         Download,    Folder,  Help,       Home,
    InstallationGuide, JobRunning, JobStopped, Left,          NewRecovery, Next,    Production, RecoveryIso,
    RequestHelp,       Right,      Search,     StartRecovery, Test,        Toolbox, User,       VirtualDiskExport,
    Virtualize};

} // namespace CorvelWidgets::Glyph
