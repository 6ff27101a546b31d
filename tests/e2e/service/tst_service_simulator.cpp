// The console's client against the service simulator: one client shared by several threads (the
// row actions borrow the poll's), and what its callers see when the service dies under them.

#include "service/service_client.h"
#include "testsupport/service_sim.h"

#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <chrono>
#include <future>

using namespace CorvelService;

class TestServiceSimulator : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    CorvelTest::ServiceSim m_sim;

    std::shared_ptr<CorvelServiceIf> connectToSim()
    {
        return createServiceClient(m_dir.path().toStdString(), "localhost", m_sim.port());
    }

private slots:
    void initTestCase()
    {
        const QString error = m_sim.startWithCerts(m_dir.path(), {"--fault", "retrieveHyperVNetworks=delay:5000"});
        QVERIFY2(error.isEmpty(), qPrintable(error));
    }

    void callersGetTheirOwnReplies()
    {
        auto client = connectToSim();
        QVERIFY(client);
        // Each thread asks about its own device, so a reply handed to the wrong caller shows.
        const auto points = [&](int t) {
            std::vector<std::string> result;
            client->retrieveRestorePoints(result, "host-" + std::to_string(t), "token-" + std::to_string(t));
            return result;
        };
        QVERIFY(points(0) != points(1));
        std::vector<std::future<int>> callers;
        for (int t = 0; t < 8; ++t) {
            callers.push_back(std::async(std::launch::async, [&points, t, expected = points(t)] {
                int wrong = 0;
                for (int i = 0; i < 1000; ++i) {
                    try {
                        wrong += points(t) != expected;
                    } catch (const std::exception&) {
                        ++wrong;
                    }
                }
                return wrong;
            }));
        }
        for (auto& caller : callers)
            QCOMPARE(caller.get(), 0);
    }

    void serviceKilledDuringCalls()
    {
        auto shared = connectToSim();
        auto idle = connectToSim();
        QVERIFY(shared && idle);

        // Half the callers wait on a slow reply, the others keep calling until the connection breaks;
        // each ends only with an exception.
        std::atomic<int> answered{0};
        std::vector<std::future<void>> callers;
        for (int t = 0; t < 8; ++t) {
            callers.push_back(std::async(std::launch::async, [&, t] {
                std::vector<VirtualNetwork> networks;
                std::vector<JobDescription> jobs;
                try {
                    for (;; ++answered)
                        t % 2 ? shared->retrieveHyperVNetworks(networks) : shared->getAllJobsInfo(jobs);
                } catch (const std::exception&) {
                }
            }));
        }
        QTRY_VERIFY_WITH_TIMEOUT(answered > 0, 15000);
        m_sim.kill();
        for (auto& caller : callers)
            QCOMPARE(caller.wait_for(std::chrono::seconds(30)), std::future_status::ready);

        // A large request to the dead peer: its later writes hit a reset connection, which must be
        // an exception here and not a signal that ends the process.
        std::string id;
        QVERIFY_EXCEPTION_THROWN(idle->createJob(id, JobType::FileRecovery, std::string(8 << 20, 'x'), {}),
                                 std::exception);
    }
};

QTEST_GUILESS_MAIN(TestServiceSimulator)
#include "tst_service_simulator.moc"
