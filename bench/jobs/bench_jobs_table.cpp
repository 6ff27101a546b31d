// Prints figures for the jobs table; run it from the build folder's bin/ (it starts the service
// simulator found beside it):
//   bench_jobs_table [--idle-seconds N] [--no-style] [--no-tick]
#include "core/style_sheet.h"
#include "jobs/job_list_widget.h"
#include "jobs/job_table_widget.h"
#include "service/service_client.h"
#include "testsupport/service_sim.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFontDatabase>
#include <QScrollArea>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

using namespace CorvelService;

static void initResources()
{
    Q_INIT_RESOURCE(resources);
}

namespace {

double cpuMs()
{
    return 1000.0 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2.0;
}

CorvelWidgets::IconFont loadIconFont()
{
    if (auto font = CorvelWidgets::IconFont::load(":/res/velmora-iconfont.ttf", ":/res/velmora-iconfont.json",
                                                  "velmora-iconfont"))
        return *font;
    return CorvelWidgets::IconFont("velmora-iconfont", {});
}

void applyStyle()
{
    for (const char* font :
         {":/res/SourceSansPro-Regular.ttf", ":/res/SourceSansPro-Bold.ttf", ":/res/SourceSansPro-Light.ttf"})
        QFontDatabase::addApplicationFont(font);
    qApp->setStyleSheet(Corvel::processStyleSheet(
        [] {
            QFile file(":/res/styles.qss");
            return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
        }(),
        1.0));
}

void settle()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

std::vector<JobDescription> syntheticJobs(int count)
{
    std::vector<JobDescription> jobs(count);
    for (int i = 0; i < count; ++i) {
        auto& job = jobs[i];
        job.id = "job-" + std::to_string(i);
        job.description = "Nightly check of finance share " + std::to_string(i);
        job.job_type = static_cast<JobType::type>(i % 3);
        job.status = static_cast<JobStatus::type>(i % 8);
        job.actions = (i % 5 == 0) ? 0 : (1 << (i % 4)) | JobAction::Delete;
        job.configuration.client_name = "Harbour Logistics";
        job.configuration.device_name = "FS-" + std::to_string(1000 + i);
        job.configuration.recovery_point = "2026_03_14_02_00_00";
        job.configuration.local_cache_path = i % 2 ? "\\\\nas01\\cache\\harbour" : "";
        job.current_work.text = i % 4 ? "Mounting volumes" : "";
        job.current_work.progress = static_cast<int8_t>(i % 100);
    }
    return jobs;
}

struct TickFigures {
    double bareCpuUs = 0, bareWallUs = 0, tickCpuUs = 0, tickWallUs = 0;
};

TickFigures measureTick(const QString& certDir, int jobCount, const CorvelWidgets::IconFont& iconFont)
{
    TickFigures figures;
    CorvelTest::ServiceSim sim;
    const QString error = sim.start(certDir, {"--jobs", QString::number(jobCount), "--tick-ms", "3600000"});
    if (!error.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return figures;
    }
    auto client = createServiceClient(certDir.toStdString(), "localhost", sim.port());
    if (!client) {
        std::fprintf(stderr, "no client\n");
        return figures;
    }
    CorvelService::ServiceConnection connection(CorvelService::ServiceConnection::Factory{});
    connection.setClient(client);
    CvJobs::JobTableWidget table(connection, iconFont);
    table.refreshTimer()->stop();
    table.resize(1175, 600);
    table.show();
    settle();

    const int rounds = jobCount >= 1000 ? 60 : 300;
    std::vector<JobDescription> jobs;
    for (int warm = 0; warm < 10; ++warm) {
        client->getAllJobsInfo(jobs);
        table.refresh();
    }
    // Interleaved, so drifts of the machine hit both alike.
    double bareCpu = 0, bareWall = 0, tickCpu = 0, tickWall = 0;
    QElapsedTimer wall;
    for (int round = 0; round < rounds; ++round) {
        double cpu = cpuMs();
        wall.start();
        client->getAllJobsInfo(jobs);
        bareWall += wall.nsecsElapsed() / 1000.0;
        bareCpu += (cpuMs() - cpu) * 1000.0;

        cpu = cpuMs();
        wall.start();
        table.refresh();
        tickWall += wall.nsecsElapsed() / 1000.0;
        tickCpu += (cpuMs() - cpu) * 1000.0;
    }
    figures = {bareCpu / rounds, bareWall / rounds, tickCpu / rounds, tickWall / rounds};
    return figures;
}

struct RebuildFigures {
    double buildMs = 0;  // setJobs: compare, schedule deletion, create the rows
    double settleMs = 0; // deferred deletion, polish and layout
    double paintMs = 0;  // one paint of the visible part
};

RebuildFigures measureRebuild(int rows, const CorvelWidgets::IconFont& iconFont, int samples)
{
    QScrollArea area;
    auto* list = new CvJobs::JobListWidget(iconFont);
    area.setWidget(list);
    area.setWidgetResizable(true);
    area.resize(1175, 600);
    area.show();
    auto jobs = syntheticJobs(rows);
    list->setJobs(jobs);
    settle();

    std::vector<double> build, settleTimes, paint;
    QElapsedTimer timer;
    for (int sample = 0; sample < samples; ++sample) {
        jobs[sample % rows].current_work.progress ^= 1; // a progress change alone rebuilds everything
        timer.start();
        list->setJobs(jobs);
        build.push_back(timer.nsecsElapsed() / 1e6);
        timer.start();
        settle();
        settleTimes.push_back(timer.nsecsElapsed() / 1e6);
        timer.start();
        area.viewport()->grab();
        paint.push_back(timer.nsecsElapsed() / 1e6);
    }
    return {median(build), median(settleTimes), median(paint)};
}

void measureIdle(const QString& certDir, int seconds, const CorvelWidgets::IconFont& iconFont)
{
    CorvelTest::ServiceSim sim;
    const QString error = sim.start(certDir, {"--jobs", "100", "--tick-ms", "3600000"});
    if (!error.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return;
    }
    auto client = createServiceClient(certDir.toStdString(), "localhost", sim.port());
    CorvelService::ServiceConnection connection(CorvelService::ServiceConnection::Factory{});
    connection.setClient(client);
    CvJobs::JobTableWidget table(connection, iconFont);
    table.resize(1175, 600);
    table.show();
    settle();
    QEventLoop loop;
    QTimer::singleShot(seconds * 1000, &loop, &QEventLoop::quit);
    const double cpuStart = cpuMs();
    QElapsedTimer wall;
    wall.start();
    loop.exec();
    const double cpu = cpuMs() - cpuStart;
    const double elapsed = static_cast<double>(wall.elapsed());
    std::printf("idle, 100 unchanged jobs, %d s: process CPU %.0f ms over %.0f ms wall = %.2f %% of a core "
                "(target < 1 %%)\n",
                seconds, cpu, elapsed, 100.0 * cpu / elapsed);
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qEnvironmentVariableIsEmpty("CORVEL_SOURCE_DIR"))
        qputenv("CORVEL_SOURCE_DIR", CORVEL_SOURCE_ROOT);
    QApplication app(argc, argv);
    initResources();
    if (qEnvironmentVariableIsEmpty("CORVEL_BIN_DIR"))
        qputenv("CORVEL_BIN_DIR", QCoreApplication::applicationDirPath().toLocal8Bit());
    // The table's own log lines would drown the figures.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
        if (type >= QtWarningMsg)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });

    int idleSeconds = 60;
    bool style = true;
    bool tick = true;
    const QStringList args = app.arguments();
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == "--idle-seconds" && i + 1 < args.size())
            idleSeconds = args[++i].toInt();
        else if (args[i] == "--no-style")
            style = false;
        else if (args[i] == "--no-tick")
            tick = false;
    }
    if (style)
        applyStyle();
    const CorvelWidgets::IconFont iconFont = loadIconFont();

    QTemporaryDir dir;
    const QString error = dir.isValid() ? CorvelTest::ServiceSim::makeCerts(dir.path()) : "no temporary folder";
    if (!error.isEmpty()) {
        std::fprintf(stderr, "cannot prepare certificates: %s\n", qPrintable(error));
        return 1;
    }

    std::printf("jobs table benchmark (%s style sheet)\n\n", style ? "with" : "without");
    std::printf("unchanged tick vs bare getAllJobsInfo over TLS, per call (target: tick CPU <= 1.3x bare)\n");
    std::printf("%6s %14s %14s %14s %14s %8s\n", "jobs", "bare CPU us", "tick CPU us", "bare wall us", "tick wall us",
                "CPU x");
    for (int jobs : {0, 100, 1000}) {
        if (!tick)
            break;
        const TickFigures f = measureTick(dir.path(), jobs, iconFont);
        std::printf("%6d %14.1f %14.1f %14.1f %14.1f %8.2f\n", jobs, f.bareCpuUs, f.tickCpuUs, f.bareWallUs,
                    f.tickWallUs, f.bareCpuUs > 0 ? f.tickCpuUs / f.bareCpuUs : 0.0);
    }

    std::printf("\nfull rebuild, medians in ms (targets: 100 rows <= 16, 1000 rows <= 150; build + settle)\n");
    std::printf("%6s %10s %10s %10s %10s\n", "rows", "build", "settle", "total", "paint");
    for (auto [rows, samples] : {std::pair{100, 21}, std::pair{1000, 7}}) {
        const RebuildFigures f = measureRebuild(rows, iconFont, samples);
        std::printf("%6d %10.1f %10.1f %10.1f %10.1f\n", rows, f.buildMs, f.settleMs, f.buildMs + f.settleMs,
                    f.paintMs);
    }
    std::printf("\n");
    if (idleSeconds > 0)
        measureIdle(dir.path(), idleSeconds, iconFont);
    std::fflush(stdout);
    return 0;
}
