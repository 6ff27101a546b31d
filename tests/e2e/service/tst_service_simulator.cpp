// One client of the console shared by several threads (the row actions borrow the poll's) against
// the service simulator, until the service dies under them.

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

private slots:
    void sharedClientUntilServiceDies()
    {
        QTemporaryDir dir;
        CorvelTest::ServiceSim sim;
        QCOMPARE(sim.startWithCerts(dir.path()), QString());
        auto shared = createServiceClient(dir.path().toStdString(), "localhost", sim.port());
        auto idle = createServiceClient(dir.path().toStdString(), "localhost", sim.port());
        QVERIFY(shared && idle);
        const auto points = [&](int t) {
            std::vector<std::string> result;
            shared->retrieveRestorePoints(result, "host-" + std::to_string(t), "token-" + std::to_string(t));
            return result;
        };
        QVERIFY(points(1) != points(2));

        // Each caller asks about its own device, so a reply handed to the wrong caller shows. The
        // service dies once they have had thousands; each caller ends only with an exception.
        std::atomic<int> answered{0}, wrong{0};
        std::vector<std::future<void>> callers;
        for (int t = 0; t < 8; ++t) {
            callers.push_back(std::async(std::launch::async, [&, t] {
                try {
                    const auto expected = points(t);
                    for (;; ++answered)
                        wrong += points(t) != expected;
                } catch (const std::exception&) {
                }
            }));
        }
        const bool busy = QTest::qWaitFor([&] { return answered >= 3500; }, 120000);
        sim.kill();
        QVERIFY(busy);
        for (auto& caller : callers)
            QCOMPARE(caller.wait_for(std::chrono::seconds(30)), std::future_status::ready);
        QCOMPARE(wrong.load(), 0);

        // A large request to the dead peer: its later writes hit a reset connection, which must be
        // an exception here and not a signal that ends the process.
        std::string id;
        QVERIFY_EXCEPTION_THROWN(idle->createJob(id, JobType::FileRecovery, std::string(8 << 20, 'x'), {}),
                                 std::exception);
    }
};

QTEST_GUILESS_MAIN(TestServiceSimulator)
#include "tst_service_simulator.moc"
