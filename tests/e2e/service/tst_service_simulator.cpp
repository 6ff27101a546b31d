// The console's client against the service simulator over mutual TLS: every method, the job
// life cycle, injected faults, certificates the simulator must refuse, and kept state.

#include "service/service_client.h"
#include "service_testkit.h"
#include "testsupport/log_capture.h"
#include "testsupport/test_paths.h"

#include <thrift/TApplicationException.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/protocol/TProtocolException.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TTransportException.h>

#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <set>

using namespace CorvelService;
using apache::thrift::TApplicationException;
using apache::thrift::protocol::TProtocolException;
using apache::thrift::transport::TTransportException;
using CorvelTest::SimProcess;

namespace {

// Polls getAllJobsInfo until the job satisfies done (or has vanished when id is absent and
// done is null). Returns every status seen on the way.
std::vector<JobStatus::type> waitForJob(CorvelServiceIf& client, const std::string& id,
                                        const std::function<bool(const JobDescription&)>& done,
                                        JobDescription* last = nullptr, int timeoutMs = 15000)
{
    std::vector<JobStatus::type> seen;
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < timeoutMs) {
        std::vector<JobDescription> jobs;
        client.getAllJobsInfo(jobs);
        const auto it = std::find_if(jobs.begin(), jobs.end(), [&](const JobDescription& j) { return j.id == id; });
        if (it == jobs.end()) {
            if (!done)
                return seen;
        } else {
            if (seen.empty() || seen.back() != it->status)
                seen.push_back(it->status);
            if (last)
                *last = *it;
            if (done && done(*it))
                return seen;
        }
        QThread::msleep(5);
    }
    return {};
}

JobConfiguration fileRecoveryConfiguration()
{
    JobConfiguration c;
    c.client_name = "Mossbank Freight";
    c.device_name = "FS-01";
    c.device_id = 40211;
    c.recovery_point = "2024_05_30_02_00_00";
    c.device_host = "backup-1.cloud.invalid";
    c.device_token = "device-token-must-not-be-logged";
    c.local_cache_path = "\\\\nas\\cache";
    c.local_cache_login = "reader";
    c.local_cache_password = "cache-password-must-not-be-logged";
    c.mount_point = "F:\\";
    return c;
}

template <typename Call>
QString failureOf(Call call)
{
    try {
        call();
    } catch (const TApplicationException& e) {
        return QString("application %1: %2").arg(e.getType()).arg(e.what());
    } catch (const TProtocolException& e) {
        return QString("protocol %1").arg(e.getType());
    } catch (const TTransportException& e) {
        return QString("transport: %1").arg(e.what());
    } catch (const std::exception& e) {
        return QString("other: %1").arg(e.what());
    }
    return {};
}

} // namespace

class TestServiceSimulator : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void jobLifeCycle();
    void cancelWhileStarting();
    void recoveryData();
    void refusedRequests_data();
    void refusedRequests();
    void injectedFaults_data();
    void injectedFaults();
    void refusesWrongClientCertificate_data();
    void refusesWrongClientCertificate();
    void stateSurvivesRestart();
    void brokenStateFileIsRefused();
    void demoJobs();
    void badCommandLines_data();
    void badCommandLines();

private:
    QString startSim(SimProcess& sim, const QStringList& extra = {});

    QTemporaryDir m_root;
    QString m_certDir;
};

void TestServiceSimulator::initTestCase()
{
    QVERIFY(m_root.isValid());
    m_certDir = m_root.filePath("wd");
    const QString error = CorvelTest::runMakeCerts(m_certDir);
    QVERIFY2(error.isEmpty(), qPrintable(error));
}

QString TestServiceSimulator::startSim(SimProcess& sim, const QStringList& extra)
{
    return sim.start(QStringList{"--cert-dir", m_certDir, "--tick-ms", "20"} + extra);
}

void TestServiceSimulator::jobLifeCycle()
{
    SimProcess sim;
    // Slow enough that the brief states (deleting, deleted) are seen even on a busy machine.
    QString error = startSim(sim, {"--tick-ms", "100"});
    QVERIFY2(error.isEmpty(), qPrintable(error));
    auto client = createServiceClient(m_certDir.toStdString(), "localhost", sim.port());
    QVERIFY(client);

    std::vector<JobDescription> jobs{JobDescription()};
    client->getAllJobsInfo(jobs);
    QVERIFY(jobs.empty());

    const JobConfiguration configuration = fileRecoveryConfiguration();
    std::string id;
    client->createJob(id, JobType::FileRecovery, "Recover invoices", configuration);
    QVERIFY(!id.empty());
    client->getAllJobsInfo(jobs);
    QCOMPARE(jobs.size(), size_t(1));
    QCOMPARE(jobs[0].id, id);
    QCOMPARE(jobs[0].description, std::string("Recover invoices"));
    QCOMPARE(jobs[0].job_type, JobType::FileRecovery);
    QCOMPARE(jobs[0].status, JobStatus::Created);
    QCOMPARE(jobs[0].actions, JobAction::Start | JobAction::Delete);
    QVERIFY(jobs[0].configuration == configuration);

    JobMutableSettings settings;
    client->getJobMutableSettings(settings, id);
    QVERIFY(!settings.delete_created_vm);
    settings.delete_created_vm = true;
    client->setJobMutableSettings(id, settings);
    JobMutableSettings readBack;
    client->getJobMutableSettings(readBack, id);
    QVERIFY(readBack.delete_created_vm);

    client->startJob(id);
    JobDescription job;
    std::vector<JobStatus::type> seen = waitForJob(*client, id, [](const JobDescription& j) {
        return j.status == JobStatus::Running && j.current_work.progress > 0;
    }, &job);
    QVERIFY(!seen.empty());
    QCOMPARE(seen.back(), JobStatus::Running);
    QCOMPARE(job.actions, int(JobAction::Stop));
    QVERIFY(!job.current_work.text.empty());
    QVERIFY(!job.current_work.technical_details.empty());
    const int8_t firstProgress = job.current_work.progress;
    QVERIFY(!waitForJob(*client, id, [&](const JobDescription& j) { return j.current_work.progress > firstProgress; })
                 .empty());

    client->stopJob(id);
    seen = waitForJob(*client, id, [](const JobDescription& j) { return j.status == JobStatus::Stopped; }, &job);
    QVERIFY(!seen.empty());
    QCOMPARE(job.actions, JobAction::Start | JobAction::Delete);

    client->deleteJob(id);
    client->getAllJobsInfo(jobs);
    QCOMPARE(jobs.size(), size_t(1));
    QCOMPARE(jobs[0].actions, int(JobAction::None));
    QVERIFY(jobs[0].status == JobStatus::PendingDelete || jobs[0].status == JobStatus::Deleting);
    seen = waitForJob(*client, id, nullptr);
    QVERIFY(std::find(seen.begin(), seen.end(), JobStatus::Deleted) != seen.end());
    client->getAllJobsInfo(jobs);
    QVERIFY(jobs.empty());

    // One log line per call, none of them with the job's secrets.
    const QString log = sim.log();
    for (const char* method : {"createJob", "getJobMutableSettings", "setJobMutableSettings", "startJob", "stopJob",
                               "deleteJob", "getAllJobsInfo"})
        QVERIFY2(log.contains(method), method);
    QVERIFY(!log.contains("must-not-be-logged"));
}

void TestServiceSimulator::cancelWhileStarting()
{
    SimProcess sim;
    const QString error = sim.start({"--cert-dir", m_certDir, "--tick-ms", "300"});
    QVERIFY2(error.isEmpty(), qPrintable(error));
    auto client = createServiceClient(m_certDir.toStdString(), "localhost", sim.port());
    QVERIFY(client);

    std::string id;
    client->createJob(id, JobType::Virtualization, "Boot test", JobConfiguration());
    client->startJob(id);
    JobDescription job;
    waitForJob(*client, id, [](const JobDescription& j) { return j.status == JobStatus::Starting; }, &job);
    QCOMPARE(job.status, JobStatus::Starting);
    QCOMPARE(job.actions, int(JobAction::Cancel));
    client->cancelJob(id);
    const auto seen = waitForJob(*client, id, [](const JobDescription& j) { return j.status == JobStatus::Stopped; },
                                 &job);
    QVERIFY(!seen.empty());
    QVERIFY(std::find(seen.begin(), seen.end(), JobStatus::Running) == seen.end());
    QCOMPARE(job.actions, JobAction::Start | JobAction::Delete);
}

void TestServiceSimulator::recoveryData()
{
    SimProcess sim;
    QString error = startSim(sim);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    auto client = createServiceClient(m_certDir.toStdString(), "localhost", sim.port());
    QVERIFY(client);

    std::vector<std::string> points, again, otherDevice;
    client->retrieveRestorePoints(points, "backup-1.cloud.invalid", "token-a");
    client->retrieveRestorePoints(again, "backup-1.cloud.invalid", "token-a");
    client->retrieveRestorePoints(otherDevice, "backup-1.cloud.invalid", "token-b");
    QVERIFY(points == again);
    QVERIFY(points != otherDevice);
    QVERIFY(points.size() >= 5);

    const QRegularExpression shape("^\\d{4}_\\d\\d_\\d\\d_\\d\\d_\\d\\d_\\d\\d$");
    const QDate today = QDateTime::currentDateTimeUtc().date();
    int malformed = 0;
    QSet<QDate> days;
    QMap<QDate, int> perDay;
    std::string valid;
    for (const std::string& point : points) {
        const QString text = QString::fromStdString(point);
        QVERIFY2(shape.match(text).hasMatch(), point.c_str());
        const QDateTime when = QDateTime::fromString(text, "yyyy_MM_dd_hh_mm_ss");
        if (!when.isValid()) {
            ++malformed;
            continue;
        }
        valid = point;
        QVERIFY(when.date() <= today && when.date() >= today.addDays(-35));
        ++perDay[when.date()];
    }
    QCOMPARE(malformed, 1);
    QVERIFY(std::is_sorted(points.begin(), points.end()));
    QVERIFY2(*std::max_element(perDay.begin(), perDay.end()) >= 2, "no day with several points");
    QVERIFY2(perDay.size() < 29, "no day without points");

    std::vector<DiskInfo> disks;
    client->retrieveMetadata(disks, "backup-1.cloud.invalid", "token-a", valid);
    QVERIFY(!disks.empty() && disks.size() <= 4);
    QVERIFY(disks[0].is_system);
    QCOMPARE(std::count_if(disks.begin(), disks.end(), [](const DiskInfo& d) { return d.is_system; }), 1L);
    std::set<std::string> names;
    for (const DiskInfo& disk : disks) {
        names.insert(disk.name);
        QVERIFY(disk.style == DiskStyle::MBR || disk.style == DiskStyle::GPT);
        QVERIFY(!disk.volumes.empty());
        for (const DiskVolumeInfo& volume : disk.volumes)
            QVERIFY(volume.size > 0);
    }
    QCOMPARE(names.size(), disks.size());

    QVERIFY(client->retrieveHyperVRamBytesUsed() > 0);
    std::vector<VirtualNetwork> networks;
    client->retrieveHyperVNetworks(networks);
    QVERIFY(networks.size() == 2 || networks.size() == 3);
    QVERIFY(networks[0].id != networks[1].id);
    QVERIFY(!networks[0].name.empty());
}

void TestServiceSimulator::refusedRequests_data()
{
    QTest::addColumn<QString>("request");
    QTest::addColumn<QString>("reason");

    QTest::newRow("start unknown job") << "start-unknown" << "Unknown job id: no-such-job";
    QTest::newRow("stop a created job") << "stop-created" << "cannot be stopped while Created";
    QTest::newRow("cancel a created job") << "cancel-created" << "cannot be cancelled while Created";
    QTest::newRow("settings of unknown job") << "settings-unknown" << "Unknown job id: no-such-job";
    QTest::newRow("metadata of malformed point") << "metadata-malformed" << "Invalid restore point: 2024_05_10_25_61_07";
    QTest::newRow("restore points without token") << "points-no-token" << "device token are required";
}

void TestServiceSimulator::refusedRequests()
{
    QFETCH(QString, request);
    QFETCH(QString, reason);

    SimProcess sim;
    QString error = startSim(sim);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    auto client = createServiceClient(m_certDir.toStdString(), "localhost", sim.port());
    QVERIFY(client);
    std::string created;
    client->createJob(created, JobType::FileRecovery, "", JobConfiguration());

    const QString failure = failureOf([&] {
        JobMutableSettings settings;
        std::vector<DiskInfo> disks;
        std::vector<std::string> points;
        if (request == "start-unknown")
            client->startJob("no-such-job");
        else if (request == "stop-created")
            client->stopJob(created);
        else if (request == "cancel-created")
            client->cancelJob(created);
        else if (request == "settings-unknown")
            client->getJobMutableSettings(settings, "no-such-job");
        else if (request == "metadata-malformed")
            client->retrieveMetadata(disks, "h", "t", "2024_05_10_25_61_07");
        else
            client->retrieveRestorePoints(points, "h", "");
    });
    QVERIFY2(failure.startsWith("application ") && failure.contains(reason), qPrintable(failure));

    // A refused request leaves the connection usable.
    std::vector<JobDescription> jobs;
    client->getAllJobsInfo(jobs);
    QCOMPARE(jobs.size(), size_t(1));
}

void TestServiceSimulator::injectedFaults_data()
{
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QString>("failure"); // start of failureOf(), empty = the call succeeds
    QTest::addColumn<bool>("usableAfterwards");

    QTest::newRow("createJob without success")
        << "createJob=no-success"
        << QString("application %1: createJob failed: unknown result").arg(TApplicationException::MISSING_RESULT)
        << false;
    QTest::newRow("getAllJobsInfo without success")
        << "getAllJobsInfo=no-success"
        << QString("application %1: getAllJobsInfo failed: unknown result").arg(TApplicationException::MISSING_RESULT)
        << false;
    QTest::newRow("createJob answered as another method")
        << "createJob=wrong-name" << QString("protocol %1").arg(TProtocolException::INVALID_DATA) << false;
    QTest::newRow("getAllJobsInfo answered as another method")
        << "getAllJobsInfo=wrong-name" << QString("protocol %1").arg(TProtocolException::INVALID_DATA) << false;
    QTest::newRow("application exception")
        << "createJob=exception"
        << QString("application %1: Injected failure of createJob").arg(TApplicationException::INTERNAL_ERROR) << true;
    QTest::newRow("connection dropped") << "createJob=drop" << "transport: " << false;
    QTest::newRow("late answer") << "createJob=delay:200" << QString() << true;
}

void TestServiceSimulator::injectedFaults()
{
    QFETCH(QString, fault);
    QFETCH(QString, failure);
    QFETCH(bool, usableAfterwards);

    SimProcess sim;
    QString error = startSim(sim, {"--fault", fault});
    QVERIFY2(error.isEmpty(), qPrintable(error));
    auto client = createServiceClient(m_certDir.toStdString(), "localhost", sim.port());
    QVERIFY(client);

    const bool onCreate = fault.startsWith("createJob");
    const QString got = failureOf([&] {
        if (onCreate) {
            std::string id;
            client->createJob(id, JobType::FileRecovery, "d", JobConfiguration());
        } else {
            std::vector<JobDescription> jobs;
            client->getAllJobsInfo(jobs);
        }
    });
    if (failure.isEmpty())
        QVERIFY2(got.isEmpty(), qPrintable(got));
    else
        QVERIFY2(got.startsWith(failure), qPrintable(got));

    const QString next = failureOf([&] { client->retrieveHyperVRamBytesUsed(); });
    QCOMPARE(next.isEmpty(), usableAfterwards);
}

void TestServiceSimulator::refusesWrongClientCertificate_data()
{
    QTest::addColumn<bool>("presentCertificate");
    QTest::newRow("certificate of another key") << true;
    QTest::newRow("no certificate") << false;
}

void TestServiceSimulator::refusesWrongClientCertificate()
{
    QFETCH(bool, presentCertificate);

    SimProcess sim;
    QString error = startSim(sim);
    QVERIFY2(error.isEmpty(), qPrintable(error));

    CorvelTest::LogCapture log;
    if (presentCertificate) {
        // The client trusts the simulator (its certificate is in the bundle) but presents its own.
        const QString dir = m_root.filePath("stranger");
        const QString ownDir = dir + "/own";
        QVERIFY(CorvelTest::writeCertificatePair(ownDir, {"localhost"}).isEmpty());
        QVERIFY(CorvelTest::concatenateFiles({ownDir + "/tolvex.crt", m_certDir + "/tolvex.crt"}, dir + "/tolvex.crt"));
        QVERIFY(QFile::copy(ownDir + "/tolvex.key", dir + "/tolvex.key"));
        const auto client = createServiceClient(dir.toStdString(), "localhost", sim.port());
        QVERIFY(!client);
        QVERIFY(log.contains(QtCriticalMsg, "Failed to connect to Corvel service"));
    } else {
        apache::thrift::transport::TSSLSocketFactory factory(apache::thrift::transport::TLSv1_2);
        factory.loadTrustedCertificates((m_certDir + "/tolvex.crt").toLocal8Bit().constData());
        factory.authenticate(true);
        auto socket = factory.createSocket("localhost", sim.port());
        auto transport = std::make_shared<apache::thrift::transport::TBufferedTransport>(socket);
        CorvelServiceClient client(std::make_shared<apache::thrift::protocol::TBinaryProtocol>(transport));
        transport->open();
        QVERIFY(!failureOf([&] { client.retrieveHyperVRamBytesUsed(); }).isEmpty());
    }

    // The simulator goes on serving the right client.
    auto good = createServiceClient(m_certDir.toStdString(), "localhost", sim.port());
    QVERIFY(good);
    QVERIFY(good->retrieveHyperVRamBytesUsed() > 0);
}

void TestServiceSimulator::stateSurvivesRestart()
{
    const QString state = m_root.filePath("restart/jobs.json");
    QDir().mkpath(QFileInfo(state).path());
    std::string id;
    JobConfiguration configuration = fileRecoveryConfiguration();
    configuration.disks_names = {"Disk 0", "Disk 2"};
    {
        SimProcess sim;
        QString error = startSim(sim, {"--state", state});
        QVERIFY2(error.isEmpty(), qPrintable(error));
        auto client = createServiceClient(m_certDir.toStdString(), "localhost", sim.port());
        QVERIFY(client);
        client->createJob(id, JobType::VirtualExport, "Export for audit", configuration);
        JobMutableSettings settings;
        settings.delete_created_vm = true;
        client->setJobMutableSettings(id, settings);
        client.reset();
        sim.terminate();
        QCOMPARE(sim.process().exitStatus(), QProcess::NormalExit);
        QCOMPARE(sim.process().exitCode(), 0);
    }
    SimProcess sim;
    QString error = startSim(sim, {"--state", state, "--jobs", "5"});
    QVERIFY2(error.isEmpty(), qPrintable(error));
    auto client = createServiceClient(m_certDir.toStdString(), "localhost", sim.port());
    QVERIFY(client);
    std::vector<JobDescription> jobs;
    client->getAllJobsInfo(jobs);
    QCOMPARE(jobs.size(), size_t(1)); // kept jobs win over demo jobs
    QCOMPARE(jobs[0].id, id);
    QCOMPARE(jobs[0].description, std::string("Export for audit"));
    QVERIFY(jobs[0].configuration == configuration);
    JobMutableSettings settings;
    client->getJobMutableSettings(settings, id);
    QVERIFY(settings.delete_created_vm);
    // New ids do not repeat kept ones.
    std::string second;
    client->createJob(second, JobType::FileRecovery, "", JobConfiguration());
    QVERIFY(second != id);
}

void TestServiceSimulator::brokenStateFileIsRefused()
{
    const QString state = m_root.filePath("broken-state.json");
    const QByteArray content("{\"jobs\": [ {\"job\": 17} ]}");
    QFile file(state);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.close();

    QProcess sim;
    sim.start(CorvelTest::binDir() + "/corvel-service-sim", {"--cert-dir", m_certDir, "--port", "0", "--state", state});
    QVERIFY(sim.waitForFinished(10000));
    QCOMPARE(sim.exitCode(), 1);
    QVERIFY(QString(sim.readAllStandardError()).contains("cannot use the state file"));
    QVERIFY(sim.readAllStandardOutput().isEmpty());
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), content);
}

void TestServiceSimulator::demoJobs()
{
    SimProcess sim;
    QString error = sim.start({"--cert-dir", m_certDir, "--jobs", "14"});
    QVERIFY2(error.isEmpty(), qPrintable(error));
    auto client = createServiceClient(m_certDir.toStdString(), "localhost", sim.port());
    QVERIFY(client);
    std::vector<JobDescription> jobs;
    client->getAllJobsInfo(jobs);
    QCOMPARE(jobs.size(), size_t(14));
    std::set<std::string> ids;
    std::set<int> types, statuses;
    for (const JobDescription& job : jobs) {
        ids.insert(job.id);
        types.insert(job.job_type);
        statuses.insert(job.status);
        QVERIFY(!job.description.empty());
        QVERIFY(!job.configuration.device_name.empty());
    }
    QCOMPARE(ids.size(), jobs.size());
    QCOMPARE(types.size(), size_t(3));
    QVERIFY(statuses.count(JobStatus::Created) && statuses.count(JobStatus::Running)
            && statuses.count(JobStatus::Stopped));
}

void TestServiceSimulator::badCommandLines_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message");

    QTest::newRow("unknown option") << QStringList{"--verbose"} << 2 << "unknown option";
    QTest::newRow("port out of range") << QStringList{"--port", "70000"} << 2 << "--port expects";
    QTest::newRow("fault on unknown method") << QStringList{"--fault", "launch=drop"} << 2 << "unknown method";
    QTest::newRow("fault of unknown kind") << QStringList{"--fault", "startJob=explode"} << 2 << "unknown kind";
    QTest::newRow("delay without time") << QStringList{"--fault", "startJob=delay"} << 2 << "delay needs";
    QTest::newRow("no certificate pair") << QStringList{"--port", "0", "--cert-dir", "/nonexistent"} << 1
                                         << "cannot load the certificate pair";
}

void TestServiceSimulator::badCommandLines()
{
    QFETCH(QStringList, args);
    QFETCH(int, exitCode);
    QFETCH(QString, message);

    QProcess sim;
    sim.start(CorvelTest::binDir() + "/corvel-service-sim", args);
    QVERIFY(sim.waitForFinished(10000));
    QCOMPARE(sim.exitStatus(), QProcess::NormalExit);
    QCOMPARE(sim.exitCode(), exitCode);
    const QString stderrText = sim.readAllStandardError();
    QVERIFY2(stderrText.contains(message), qPrintable(stderrText));
}

QTEST_GUILESS_MAIN(TestServiceSimulator)
#include "tst_service_simulator.moc"
