// One client shared by several threads, and what they see when the service dies under them.

#include "service/service_client.h"
#include "service_testkit.h"

#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

using namespace CorvelService;
using CorvelTest::SimProcess;

class TestServiceConcurrency : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void callersGetTheirOwnReplies();
    void serviceKilledDuringCalls();

private:
    QTemporaryDir m_root;
    QString m_certDir;
};

void TestServiceConcurrency::initTestCase()
{
    QVERIFY(m_root.isValid());
    m_certDir = m_root.filePath("wd");
    const QString error = CorvelTest::runMakeCerts(m_certDir);
    QVERIFY2(error.isEmpty(), qPrintable(error));
}

void TestServiceConcurrency::callersGetTheirOwnReplies()
{
    const int threads = 8;
    const int callsPerThread = 1000;

    SimProcess sim;
    const QString error = sim.start({"--cert-dir", m_certDir});
    QVERIFY2(error.isEmpty(), qPrintable(error));
    auto client = createServiceClient(m_certDir.toStdString(), "localhost", sim.port());
    QVERIFY(client);

    // Each thread asks about its own device, so a reply handed to the wrong caller shows.
    std::vector<std::vector<std::string>> expected(threads);
    for (int t = 0; t < threads; ++t) {
        client->retrieveRestorePoints(expected[t], "host-" + std::to_string(t), "token-" + std::to_string(t));
        for (int u = 0; u < t; ++u)
            QVERIFY(expected[t] != expected[u]);
    }

    std::atomic<int> wrong{0}, failed{0}, done{0};
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&, t] {
            const std::string host = "host-" + std::to_string(t);
            const std::string token = "token-" + std::to_string(t);
            for (int i = 0; i < callsPerThread; ++i) {
                try {
                    std::vector<std::string> points;
                    client->retrieveRestorePoints(points, host, token);
                    if (points != expected[t])
                        ++wrong;
                    ++done;
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
    QCOMPARE(done.load(), threads * callsPerThread);
}

void TestServiceConcurrency::serviceKilledDuringCalls()
{
    SimProcess sim;
    const QString error = sim.start({"--cert-dir", m_certDir, "--fault", "retrieveHyperVNetworks=delay:5000"});
    QVERIFY2(error.isEmpty(), qPrintable(error));
    auto shared = createServiceClient(m_certDir.toStdString(), "localhost", sim.port());
    auto idle = createServiceClient(m_certDir.toStdString(), "localhost", sim.port());
    QVERIFY(shared && idle);

    // Half the callers wait on a slow reply, the others keep calling until the connection breaks.
    std::atomic<int> started{0};
    std::vector<std::future<bool>> callers;
    for (int t = 0; t < 8; ++t) {
        callers.push_back(std::async(std::launch::async, [&, t] {
            ++started;
            try {
                for (;;) {
                    if (t % 2) {
                        std::vector<VirtualNetwork> networks;
                        shared->retrieveHyperVNetworks(networks);
                    } else {
                        std::vector<JobDescription> jobs;
                        shared->getAllJobsInfo(jobs);
                    }
                }
            } catch (const std::exception&) {
                return true;
            }
        }));
    }
    QTRY_COMPARE(started.load(), 8);
    QTest::qWait(300);
    sim.kill();

    for (auto& caller : callers) {
        QCOMPARE(caller.wait_for(std::chrono::seconds(30)), std::future_status::ready);
        QVERIFY(caller.get());
    }

    // A large request to the dead peer: its later writes hit a reset connection, which must be
    // an exception here and not a signal that ends the process.
    std::string id;
    bool threw = false;
    try {
        idle->createJob(id, JobType::FileRecovery, std::string(8 * 1024 * 1024, 'x'), JobConfiguration());
    } catch (const std::exception&) {
        threw = true;
    }
    QVERIFY(threw);
    QVERIFY(!createServiceClient(m_certDir.toStdString(), "localhost", sim.port()));
}

QTEST_GUILESS_MAIN(TestServiceConcurrency)
#include "tst_service_concurrency.moc"
