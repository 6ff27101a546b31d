// Not a test: renders the jobs table in several states and the three job dialogs to PNG files
// for review, with the console's fonts, icon font and style sheet.
//   jobs_screenshots OUTPUT_DIR
#include "app/style_sheet.h"
#include "fake_job_service.h"
#include "jobs/delete_vm_dialog.h"
#include "jobs/delete_vm_dialog2.h"
#include "jobs/job_started_window.h"
#include "jobs/job_table_widget.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFontDatabase>

#include <cstdio>

using namespace CorvelService;

static void initResources()
{
    Q_INIT_RESOURCE(resources);
}

namespace {

JobDescription job(const std::string& id, JobType::type type, JobStatus::type status, int actions,
                   const std::string& work, int progress)
{
    JobDescription d;
    d.id = id;
    d.job_type = type;
    d.status = status;
    d.actions = actions;
    d.description = "Restore of finance share after ransomware alert " + id;
    d.configuration.client_name = "Harbour Logistics";
    d.configuration.device_name = "FS-AMSTERDAM-0" + id;
    d.configuration.recovery_point = "2026_03_14_02_00_00";
    d.configuration.local_cache_path = id == "2" ? "\\\\nas01\\corvel-cache\\harbour" : "";
    d.current_work.text = work;
    d.current_work.technical_details = "block 1123 of 4096";
    d.current_work.progress = static_cast<int8_t>(progress);
    return d;
}

bool save(QWidget* widget, const QString& path)
{
    widget->show();
    QCoreApplication::processEvents();
    const bool ok = widget->grab().save(path);
    std::printf("%s %s\n", ok ? "wrote" : "FAILED", qPrintable(path));
    return ok;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    initResources();
    if (argc < 2) {
        std::fprintf(stderr, "usage: jobs_screenshots OUTPUT_DIR\n");
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[1]));
    QDir().mkpath(out.path());
    for (const char* font : {":/res/SourceSansPro-Regular.ttf", ":/res/SourceSansPro-Bold.ttf",
                             ":/res/SourceSansPro-Light.ttf"})
        QFontDatabase::addApplicationFont(font);
    app.setStyleSheet(Corvel::loadStyleSheet(":/res/styles.qss"));
    const auto iconFont = CorvelWidgets::IconFont::load(":/res/velmora-iconfont.ttf", ":/res/velmora-iconfont.json",
                                                        "velmora-iconfont");
    if (!iconFont) {
        std::fprintf(stderr, "icon font missing\n");
        return 1;
    }

    bool ok = true;
    auto service = std::make_shared<FakeJobService>();
    {
        CvJobs::JobTableWidget empty(service, *iconFont);
        empty.resize(1175, 300);
        ok &= save(&empty, out.filePath("jobs_table_empty.png"));
    }
    service->jobs = {
        job("1", JobType::FileRecovery, JobStatus::Running, JobAction::Stop, "Volumes mounted at E:\\", 100),
        job("2", JobType::VirtualExport, JobStatus::Initializing, JobAction::Cancel, "Exporting disk 2 of 3", 37),
        job("3", JobType::Virtualization, JobStatus::Stopped, JobAction::Start | JobAction::Delete, "", 0),
        job("4", JobType::Virtualization, JobStatus::Starting, JobAction::None, "Booting virtual machine", 12),
        job("5", JobType::FileRecovery, JobStatus::PendingDelete, 15, "Unmounting volumes", 80),
    };
    CvJobs::JobTableWidget table(service, *iconFont);
    table.resize(1175, 560);
    ok &= save(&table, out.filePath("jobs_table.png"));
    table.resize(760, 560);
    ok &= save(&table, out.filePath("jobs_table_narrow.png"));

    CvJobs::DeleteVMDialog production(*iconFont, nullptr, false);
    ok &= save(&production, out.filePath("delete_vm_dialog.png"));
    CvJobs::DeleteVMDialog2 confirmation(*iconFont, nullptr);
    ok &= save(&confirmation, out.filePath("delete_vm_dialog2.png"));
    CvJobs::JobStartedWindow started(*iconFont, nullptr, JobType::FileRecovery);
    ok &= save(&started, out.filePath("job_started_window.png"));
    return ok ? 0 : 1;
}
