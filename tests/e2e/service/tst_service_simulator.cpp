// The console's client against the service simulator over mutual TLS: faulty replies, a client
// certificate the service refuses, one client shared by several threads, and what they see when
// the service dies.

#include "service/service_client.h"
#include "testsupport/log_capture.h"
#include "testsupport/service_sim.h"
#include "testsupport/service_testkit.h"

#include <thrift/TApplicationException.h>
#include <thrift/protocol/TProtocolException.h>

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

class TestServiceSimulator : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void faultyReplies_data();
    void faultyReplies();
    void refusesWrongClientCertificate();
    void callersGetTheirOwnReplies();
    void serviceKilledDuringCalls();

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

QTEST_GUILESS_MAIN(TestServiceSimulator)
#include "tst_service_simulator.moc"
