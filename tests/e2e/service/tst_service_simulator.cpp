// The console's client against the service simulator over mutual TLS: every method, the job
// state machine and its kept state, faulty replies, a client certificate the simulator must
// refuse, one client shared by several threads, and what they see when the service dies.

#include "service/service_client.h"
#include "service_testkit.h"
#include "testsupport/log_capture.h"
#include "testsupport/service_sim.h"

#include <thrift/TApplicationException.h>
#include <thrift/protocol/TProtocolException.h>
#include <thrift/transport/TTransportException.h>

#include <QDateTime>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

using namespace CorvelService;
using apache::thrift::TApplicationException;
using apache::thrift::protocol::TProtocolException;
using CorvelTest::ServiceSim;

using Call = std::function<void(CorvelServiceIf&)>;
Q_DECLARE_METATYPE(Call)

namespace {

// Polls getAllJobsInfo until done(the job, or nullptr once it is gone) holds; false on time-out.
bool waitForJob(CorvelServiceIf& client, const std::string& id, const std::function<bool(const JobDescription*)>& done)
{
    QElapsedTimer timer;
    for (timer.start(); timer.elapsed() < 15000; QThread::msleep(5)) {
        std::vector<JobDescription> jobs;
        client.getAllJobsInfo(jobs);
        const auto it = std::find_if(jobs.begin(), jobs.end(), [&](const JobDescription& j) { return j.id == id; });
        if (done(it == jobs.end() ? nullptr : &*it))
            return true;
    }
    return false;
}

QString failureOf(const std::function<void()>& call)
{
    try {
        call();
    } catch (const TApplicationException& e) {
        return QString("application %1: %2").arg(e.getType()).arg(e.what());
    } catch (const TProtocolException& e) {
        return QString("protocol %1").arg(e.getType());
    } catch (const std::exception& e) {
        return QString("other: %1").arg(e.what());
    }
    return {};
}

} // namespace

Q_DECLARE_METATYPE(std::function<void(CorvelService::JobConfiguration&)>)

class TestServiceSimulator : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void allMethods();
    void createJobChecks_data();
    void createJobChecks();
    void faultyReplies_data();
    void faultyReplies();
    void refusesWrongClientCertificate();
    void callersGetTheirOwnReplies();
    void serviceKilledDuringCalls();
    void longAndOversizedReplies();

private:
    std::shared_ptr<CorvelServiceIf> connect(const ServiceSim& sim)
    {
        return createServiceClient(m_certDir.toStdString(), "localhost", sim.port());
    }
    // Starts sim and connects to it; empty when either fails.
    std::shared_ptr<CorvelServiceIf> start(ServiceSim& sim, const QStringList& args = {})
    {
        const QString error = sim.start(m_certDir, args);
        if (!error.isEmpty())
            qWarning("%s", qPrintable(error));
        return error.isEmpty() ? connect(sim) : nullptr;
    }

    QTemporaryDir m_root;
    QString m_certDir;
    ServiceSim m_sim; // with faults on some job calls
};

void TestServiceSimulator::initTestCase()
{
    QVERIFY(m_root.isValid());
    m_certDir = m_root.filePath("wd");
    QString error = ServiceSim::makeCerts(m_certDir);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    error = m_sim.start(m_certDir, {"--fault", "createJob=no-success", "--fault", "stopJob=wrong-name", "--fault",
                                    "cancelJob=exception"});
    QVERIFY2(error.isEmpty(), qPrintable(error));
}

void TestServiceSimulator::allMethods()
{
    // Slow enough that a busy machine still sees the job Running.
    const QStringList args{"--tick-ms", "200", "--state", m_root.filePath("jobs.json")};
    ServiceSim sim;
    auto client = start(sim, args);
    QVERIFY(client);
    std::vector<JobDescription> jobs;
    const JobConfiguration configuration = ServiceSim::validConfiguration(*client, JobType::FileRecovery);
    std::string id;
    client->createJob(id, JobType::FileRecovery, "Recover invoices", configuration);
    JobMutableSettings settings;
    client->getJobMutableSettings(settings, id);
    QVERIFY(!settings.delete_created_vm);
    settings.delete_created_vm = true;
    client->setJobMutableSettings(id, settings);

    // The job and its settings outlive a restart.
    client.reset();
    sim.stop();
    client = start(sim, args);
    QVERIFY(client);
    client->getAllJobsInfo(jobs);
    QCOMPARE(jobs.size(), size_t(1));
    QCOMPARE(jobs[0].id, id);
    QCOMPARE(jobs[0].description, std::string("Recover invoices"));
    QCOMPARE(jobs[0].status, JobStatus::Created);
    QCOMPARE(jobs[0].actions, JobAction::Start | JobAction::Delete);
    QVERIFY(jobs[0].configuration == configuration);
    settings = JobMutableSettings();
    client->getJobMutableSettings(settings, id);
    QVERIFY(settings.delete_created_vm);

    JobDescription job;
    const auto reaches = [&](JobStatus::type status) {
        return waitForJob(*client, id, [&](const JobDescription* j) {
            if (j)
                job = *j;
            return j && j->status == status && (status != JobStatus::Running || j->current_work.progress > 0);
        });
    };
    client->startJob(id);
    QVERIFY(reaches(JobStatus::Running));
    QCOMPARE(job.actions, int(JobAction::Stop));
    client->stopJob(id);
    QVERIFY(reaches(JobStatus::Stopped));
    QCOMPARE(job.actions, JobAction::Start | JobAction::Delete);
    client->startJob(id);
    client->cancelJob(id);
    QVERIFY(reaches(JobStatus::Stopped));

    client->deleteJob(id);
    QVERIFY(waitForJob(*client, id, [](const JobDescription* j) { return !j; }));
    client->getAllJobsInfo(jobs);
    QVERIFY(jobs.empty());
}

using Change = std::function<void(JobConfiguration&)>;

void TestServiceSimulator::createJobChecks_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("refusal"); // empty: accepted
    const auto row = [](const char* name, JobType::type type, Change change, const char* refusal) {
        QTest::newRow(name) << int(type) << change << QString(refusal);
    };
    const Change none = [](JobConfiguration&) {};
    row("file recovery", JobType::FileRecovery, none, "");
    row("export", JobType::VirtualExport, none, "");
    row("virtualization", JobType::Virtualization, none, "");
    row("unknown type", JobType::type(7), none, "job_type: ");
    row(
        "forged token", JobType::FileRecovery, [](JobConfiguration& c) { c.device_token = "guess"; }, "device_token: ");
    row(
        "foreign restore point", JobType::FileRecovery,
        [](JobConfiguration& c) { c.recovery_point = "2001_01_01_00_00_00"; }, "recovery_point: ");
    row(
        "no mount point", JobType::FileRecovery, [](JobConfiguration& c) { c.mount_point.clear(); }, "mount_point: ");
    row(
        "unknown disk", JobType::VirtualExport, [](JobConfiguration& c) { c.disks_names.push_back("Disk 9"); },
        "disks_names: ");
    row(
        "no VM name", JobType::Virtualization, [](JobConfiguration& c) { c.vm_settings.name.clear(); },
        "vm_settings.name: ");
    row(
        "more memory than the host", JobType::Virtualization,
        [](JobConfiguration& c) { c.vm_settings.ram_bytes = int64_t(1) << 50; }, "vm_settings.ram_bytes: ");
    row(
        "generation 3", JobType::Virtualization, [](JobConfiguration& c) { c.vm_settings.generation = 3; },
        "vm_settings.generation: ");
    row(
        "no local cache there", JobType::FileRecovery,
        [](JobConfiguration& c) { c.local_cache_path = "/nonexistent/cache"; }, "local_cache_path: ");
    row(
        "unknown network", JobType::Virtualization,
        [](JobConfiguration& c) { c.vm_settings.network_adapters = {"Nowhere"}; }, "vm_settings.network_adapters: ");
}

// The simulator refuses what the real service refuses, naming the field; accepted jobs carry what
// they were given, a virtual machine takes its memory, and the log shows every field but secrets.
void TestServiceSimulator::createJobChecks()
{
    QFETCH(int, type);
    QFETCH(Change, change);
    QFETCH(QString, refusal);
    ServiceSim sim;
    auto client = start(sim);
    QVERIFY(client);
    const JobType::type jobType = JobType::type(type);
    JobConfiguration configuration =
        ServiceSim::validConfiguration(*client, type > 2 ? JobType::FileRecovery : jobType);
    configuration.local_cache_login = "cache-user";
    configuration.local_cache_password = "cache-secret";
    change(configuration);
    const int64_t ramBefore = client->retrieveHyperVRamBytesUsed();
    std::string id;
    const QString failure = failureOf([&] { client->createJob(id, jobType, "Quarterly check", configuration); });
    if (!refusal.isEmpty()) {
        QVERIFY2(failure.startsWith(QString("application %1: %2").arg(TApplicationException::UNKNOWN).arg(refusal)),
                 qPrintable(failure));
        return;
    }
    QVERIFY2(failure.isEmpty(), qPrintable(failure));
    std::vector<JobDescription> jobs;
    client->getAllJobsInfo(jobs);
    QCOMPARE(jobs.size(), size_t(1));
    QCOMPARE(jobs[0].job_type, jobType);
    QCOMPARE(jobs[0].description, std::string("Quarterly check"));
    QCOMPARE(jobs[0].configuration.device_name, std::string("FS-01"));
    QCOMPARE(client->retrieveHyperVRamBytesUsed() - ramBefore,
             jobType == JobType::Virtualization ? configuration.vm_settings.ram_bytes : 0);
    const QString log = sim.log();
    QVERIFY(log.contains("createJob type=" + QString::fromStdString(to_string(jobType))));
    QVERIFY(log.contains("recovery_point=" + QString::fromStdString(configuration.recovery_point)));
    QVERIFY(log.contains("device_token=***") && log.contains("local_cache_password=***"));
    QVERIFY(!log.contains("device-token-1001") && !log.contains("cache-secret") && !log.contains("cache-user"));
}

void TestServiceSimulator::faultyReplies_data()
{
    QTest::addColumn<Call>("call");
    QTest::addColumn<QString>("failure"); // start of failureOf()
    QTest::addColumn<bool>("usableAfterwards");

    QTest::newRow("createJob reply without success") << Call([](CorvelServiceIf& c) {
        std::string id;
        c.createJob(id, JobType::FileRecovery, "d", {});
    }) << QString("application %1: createJob failed: unknown result").arg(TApplicationException::MISSING_RESULT)
                                                     << false;
    QTest::newRow("reply named after another method")
        << Call([](CorvelServiceIf& c) { c.stopJob("j"); })
        << QString("protocol %1").arg(TProtocolException::INVALID_DATA) << false;
    QTest::newRow("application exception")
        << Call([](CorvelServiceIf& c) { c.cancelJob("j"); })
        << QString("application %1: Injected failure of cancelJob").arg(TApplicationException::INTERNAL_ERROR) << true;
}

void TestServiceSimulator::faultyReplies()
{
    QFETCH(Call, call);
    QFETCH(QString, failure);
    QFETCH(bool, usableAfterwards);

    auto client = connect(m_sim);
    QVERIFY(client);
    const QString got = failureOf([&] { call(*client); });
    QVERIFY2(got.startsWith(failure), qPrintable(got));
    QCOMPARE(failureOf([&] { client->retrieveHyperVRamBytesUsed(); }).isEmpty(), usableAfterwards);
}

void TestServiceSimulator::refusesWrongClientCertificate()
{
    // Trusts the simulator (its certificate is in the bundle) but presents its own.
    const QString dir = m_root.filePath("stranger");
    QVERIFY(CorvelTest::writeCertificatePair(dir, "localhost").isEmpty());
    QFile bundle(dir + "/tolvex.crt"), simCertificate(m_certDir + "/tolvex.crt");
    QVERIFY(bundle.open(QIODevice::Append) && simCertificate.open(QIODevice::ReadOnly));
    QVERIFY(bundle.write(simCertificate.readAll()) > 0 && bundle.flush());
    CorvelTest::LogCapture log;
    QVERIFY(!createServiceClient(dir.toStdString(), "localhost", m_sim.port()));
    QVERIFY(log.contains(QtCriticalMsg, "Failed to connect to Corvel service"));
}

void TestServiceSimulator::callersGetTheirOwnReplies()
{
    const int threads = 8;
    auto client = connect(m_sim);
    QVERIFY(client);

    // Each thread asks about its own device, so a reply handed to the wrong caller shows.
    std::vector<std::vector<std::string>> expected(threads);
    for (int t = 0; t < threads; ++t) {
        client->retrieveRestorePoints(expected[t], "host-" + std::to_string(t), "token-" + std::to_string(t));
        for (int u = 0; u < t; ++u)
            QVERIFY(expected[t] != expected[u]);
    }

    std::atomic<int> wrong{0}, failed{0};
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&, t] {
            for (int i = 0; i < 1000; ++i) {
                try {
                    std::vector<std::string> points;
                    client->retrieveRestorePoints(points, "host-" + std::to_string(t), "token-" + std::to_string(t));
                    wrong += points != expected[t];
                } catch (...) {
                    ++failed;
                }
            }
        });
    }
    for (auto& worker : workers)
        worker.join();
    QCOMPARE(failed.load(), 0);
    QCOMPARE(wrong.load(), 0);
}

void TestServiceSimulator::serviceKilledDuringCalls()
{
    ServiceSim sim;
    auto shared = start(sim, {"--fault", "retrieveHyperVNetworks=delay:5000"});
    auto idle = connect(sim);
    QVERIFY(shared && idle);

    // Half the callers wait on a slow reply, the others keep calling until the connection breaks.
    std::atomic<int> answered{0};
    std::vector<std::future<QString>> callers; // each ends only with an exception
    for (int t = 0; t < 8; ++t) {
        callers.push_back(std::async(std::launch::async, [&, t] {
            return failureOf([&] {
                std::vector<VirtualNetwork> networks;
                std::vector<JobDescription> jobs;
                for (;; ++answered)
                    t % 2 ? shared->retrieveHyperVNetworks(networks) : shared->getAllJobsInfo(jobs);
            });
        }));
    }
    QTRY_VERIFY_WITH_TIMEOUT(answered > 0, 15000);
    sim.kill();
    for (auto& caller : callers) {
        QCOMPARE(caller.wait_for(std::chrono::seconds(30)), std::future_status::ready);
        QVERIFY(!caller.get().isEmpty());
    }

    // A large request to the dead peer: its later writes hit a reset connection, which must be
    // an exception here and not a signal that ends the process.
    std::string id;
    QVERIFY(!failureOf([&] { idle->createJob(id, JobType::FileRecovery, std::string(8 << 20, 'x'), {}); }).isEmpty());
}

void TestServiceSimulator::longAndOversizedReplies()
{
    ServiceSim sim;
    QVERIFY(sim.start(m_certDir,
                      {"--jobs", "10000", "--tick-ms", "3600000", "--fault", "retrieveRestorePoints=oversized:40000",
                       "--fault", "retrieveMetadata=oversized", "--fault", "createJob=oversized:33554432", "--fault",
                       "retrieveHyperVRamBytesUsed=oversized:33554432"})
                .isEmpty());
    auto client = connect(sim);
    QVERIFY(client);
    std::vector<JobDescription> jobs;
    client->getAllJobsInfo(jobs);
    QCOMPARE(jobs.size(), size_t(10000));

    // Each of these replies claims far more than it sends before the simulator hangs up.
    const QList<QPair<QString, Call>> calls{
        {"40,000 restore points",
         [](CorvelServiceIf& c) {
             std::vector<std::string> points;
             c.retrieveRestorePoints(points, "host", "token");
         }},
        {"1,000,000 disks",
         [](CorvelServiceIf& c) {
             std::vector<DiskInfo> disks;
             c.retrieveMetadata(disks, "host", "token", "2026-11-24T22:00:00Z");
         }},
        {"a 32 MiB job id",
         [](CorvelServiceIf& c) {
             std::string id;
             c.createJob(id, JobType::FileRecovery, "d", {});
         }},
        {"a 32 MiB unknown field", [](CorvelServiceIf& c) { c.retrieveHyperVRamBytesUsed(); }},
    };
    for (const auto& call : calls) {
        client = connect(sim);
        QVERIFY(client);
        QVERIFY(CorvelTest::resetPeakMemory());
        const qint64 before = CorvelTest::statusKiB("VmRSS:");
        QString failure;
        try {
            call.second(*client);
        } catch (const apache::thrift::transport::TTransportException& e) {
            failure = QString("transport %1").arg(e.getType());
        } catch (const TProtocolException& e) {
            failure = QString("protocol %1").arg(e.getType());
        }
        const qint64 growthKiB = CorvelTest::statusKiB("VmHWM:") - before;
        qInfo("%s: %s, peak memory growth %lld KiB", qPrintable(call.first), qPrintable(failure), growthKiB);
        QVERIFY2(failure == QString("transport %1").arg(apache::thrift::transport::TTransportException::END_OF_FILE) ||
                     failure == QString("protocol %1").arg(TProtocolException::SIZE_LIMIT),
                 qPrintable(call.first + ": " + failure));
        QVERIFY2(growthKiB < 4 * 1024, qPrintable(call.first + QString(": peak grew by %1 KiB").arg(growthKiB)));
    }
}

QTEST_GUILESS_MAIN(TestServiceSimulator)
#include "tst_service_simulator.moc"
