// The one owner of the service: calls handed to its worker come back on the caller's thread,
// bounded when asked; silence and outages are logged when they start and end, not per attempt;
// and going away never waits for a service that does not answer.

#include "service/service_connection.h"
#include "testsupport/fake_service.h"
#include "testsupport/log_capture.h"

#include <QRegularExpression>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <future>

using namespace CorvelService;
using CorvelTest::FakeService;

namespace {

// Answers the jobs poll only when released.
class HeldService : public CorvelServiceNull {
public:
    std::shared_future<void> release;
    std::atomic<bool> answered{false};
    void getAllJobsInfo(std::vector<JobDescription>&) override
    {
        release.wait();
        answered = true;
    }
};

} // namespace

class TestServiceOwner : public QObject {
    Q_OBJECT

private slots:
    void requests_data()
    {
        QTest::addColumn<int>("delayMs");
        QTest::addColumn<int>("limitMs");
        QTest::addColumn<bool>("contextGone");
        QTest::addColumn<int>("outcome"); // -1: never delivered
        QTest::addColumn<QString>("log");
        QTest::newRow("answered within the limit") << 0 << 5000 << false << int(CallOutcome::Ok) << "";
        QTest::newRow("silent past the limit")
            << 1500 << 100 << false << int(CallOutcome::TimedOut) << "No answer from the Corvel service within 1 s";
        QTest::newRow("asker gone") << 300 << 0 << true << -1 << "";
    }

    void requests()
    {
        QFETCH(int, delayMs);
        QFETCH(int, limitMs);
        QFETCH(bool, contextGone);
        QFETCH(int, outcome);
        QFETCH(QString, log);
        auto service = std::make_shared<FakeService>();
        service->hyperVRamBytesUsed = 4096;
        service->setDelay("retrieveHyperVRamBytesUsed", delayMs);
        ServiceConnection connection([service] { return service; });
        QVERIFY(connection.connectNow());
        CorvelTest::LogCapture captured;
        auto context = std::make_unique<QObject>();
        QList<int> outcomes; // of those delivered on this thread
        int64_t bytes = 0;
        connection.request(
            context.get(), [&bytes](CorvelServiceIf& s) { bytes = s.retrieveHyperVRamBytesUsed(); },
            [&](const CallResult& result) {
                outcomes << (QThread::currentThread() == thread() ? int(result.outcome) : -2);
            },
            {QtWarningMsg, limitMs});
        if (contextGone)
            context.reset();
        // Long enough for the late answer too: it must not be delivered a second time.
        QTest::qWait(delayMs + 300);
        QTRY_COMPARE(outcomes, outcome < 0 ? QList<int>() : QList<int>{outcome});
        if (outcome == int(CallOutcome::Ok))
            QCOMPARE(bytes, int64_t(4096));
        QCOMPARE(captured.contains(QtWarningMsg, log), !log.isEmpty());
        QVERIFY(!connection.isLost());
    }

    void stateChangesLoggedOnce()
    {
        auto service = std::make_shared<FakeService>();
        std::atomic<bool> back{true};
        ServiceConnection connection([&]() -> ServiceConnection::Client { return back ? service : nullptr; });
        QVERIFY(connection.connectNow());
        connection.setReconnectInterval(20);
        connection.setMaxReconnectDelay(40);
        connection.setOutageSummaryInterval(300);
        CorvelTest::LogCapture log;

        // Silent for longer than the table waits: once when it starts, once when it ends.
        service->setDelay("getAllJobsInfo", ServiceConnection::NotRespondingMs + 400);
        connection.pollSoon();
        QTRY_COMPARE_WITH_TIMEOUT(connection.state(), ServiceConnection::State::Silent, 4000);
        QTRY_VERIFY_WITH_TIMEOUT(!connection.isPollOut(), 4000);
        QCOMPARE(connection.state(), ServiceConnection::State::Connected);
        QCOMPARE(log.count("Corvel service is not responding."), 1);
        QCOMPARE(log.count("Corvel service answers again."), 1);

        // Away: the failure, then quiet attempts with a summary, then the return.
        service->setDelay("getAllJobsInfo", 0);
        back = false;
        service->listFailure = FakeService::Failure::Transport;
        connection.setPollInterval(10);
        connection.startPolling();
        QTRY_VERIFY_WITH_TIMEOUT(
            !log.texts().filter(QRegularExpression("^Corvel service still not reachable: ")).isEmpty(), 3000);
        back = true;
        service->listFailure = FakeService::Failure::None;
        QTRY_COMPARE_WITH_TIMEOUT(log.count("Connection to Corvel service restored."), 1, 3000);
        QTest::qWait(100);
        QVERIFY2(log.texts().size() <= 6, qPrintable(log.texts().join('\n')));
    }

    void leavesWithoutWaitingOnSilence()
    {
        auto service = std::make_shared<HeldService>();
        std::promise<void> release;
        service->release = release.get_future().share();
        {
            ServiceConnection connection([service] { return service; });
            QVERIFY(connection.connectNow());
            connection.pollSoon();
            QTRY_VERIFY(connection.isPollOut());
            QTest::qWait(50);
        } // would deadlock here if it waited for the held answer
        QVERIFY(!service->answered);
        release.set_value();
        QTRY_VERIFY(service->answered);
    }
};

QTEST_MAIN(TestServiceOwner)
#include "tst_service_owner.moc"
