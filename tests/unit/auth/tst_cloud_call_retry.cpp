#include "auth/cloud_call_retry.h"
#include "cloud/vusk_request.h"
#include "testsupport/cloud_sim.h"
#include "testsupport/log_capture.h"
#include "widgets/message_box.h"

#include "test_tokens.h"

#include <QTimer>
#include <QtTest>

using namespace TmxAuth;
using namespace VuskAPI;
using CorvelTest::CloudSim;
using CorvelTest::LogCapture;
using CorvelWidgets::MessageBox;

namespace {

QStringList boxes()
{
    QStringList out;
    for (const auto& box : MessageBox::shown())
        out << box.title + "/" + box.text;
    return out;
}

struct Outcome {
    int successes = 0;
    int failures = 0;
    QList<TmxClient> clients;
    RequestError error;
    bool done() const { return successes + failures > 0; }
};

void runClients(CloudCallRetry& retry, VuskRequest& request, Outcome& outcome)
{
    retry.run<QList<TmxClient>>(
        "Clients request", [&request](Callback<QList<TmxClient>> cb) { request.getClients(cb); },
        [&outcome](const QList<TmxClient>& clients) {
            ++outcome.successes;
            outcome.clients = clients;
        },
        [&outcome](const RequestError& error) {
            ++outcome.failures;
            outcome.error = error;
        });
    QVERIFY(QTest::qWaitFor([&] { return outcome.done(); }, 30000));
}

// A call that fails `failures` times with `error`, then succeeds; answers arrive from the event loop.
struct FlakyCall {
    int failures;
    RequestError error;
    int issued = 0;

    std::function<void(Callback<int>)> issue()
    {
        return [this](Callback<int> cb) {
            const bool fail = issued++ < failures;
            QTimer::singleShot(0, [this, fail, cb] {
                if (fail)
                    cb(Result<int>(std::in_place_index<1>, error));
                else
                    cb(Result<int>(std::in_place_index<0>, 42));
            });
        };
    }
};

} // namespace

class TestCloudCallRetry : public QObject {
    Q_OBJECT

    QJsonObject m_config;

private slots:
    void init()
    {
        MessageBox::setAutoAnswer(true);
        MessageBox::clearShown();
    }

    // A server that keeps failing: the call goes out retries + 1 times, then the error is shown once.
    void exhausted_data()
    {
        QTest::addColumn<int>("retries");
        QTest::newRow("default 5") << 5;
        QTest::newRow("none") << 0;
        QTest::newRow("two") << 2;
    }

    void exhausted()
    {
        QFETCH(int, retries);
        CloudSim sim({"--fault-status", "/vusk/clients=500"});
        QVERIFY(sim.start());
        AuthSession session(partnerToken(), m_config);
        VuskRequest request(&session, sim.vuskUrl());
        CloudCallRetry retry(&session, nullptr, retries);
        LogCapture log;
        Outcome outcome;
        runClients(retry, request, outcome);

        const QString line = "GET /vusk/clients?partner_id=7 500";
        QCOMPARE(sim.requests(), QStringList(QVector<QString>(retries + 1, line).toList()));
        QCOMPARE(outcome.failures, 1);
        QCOMPARE(outcome.successes, 0);
        QCOMPARE(outcome.error.kind, RequestError::ServerError);
        QCOMPARE(boxes(), QStringList{"Server Error/Error code: 401\nPlease check your internet connection and try again"});
        QCOMPARE(log.count("Server Error. Error code: 401"), retries + 1);
        QStringList attempts = log.texts().filter(QRegularExpression("^Retrying attempts"));
        QStringList expected;
        for (int left = retries; left > 0; --left)
            expected << "Retrying attempts left: " + QString::number(left);
        expected << "Retrying attempts has been exhausted";
        QCOMPARE(attempts, expected);
        QVERIFY(log.contains(QtCriticalMsg, "Retrying attempts has been exhausted"));
        QCOMPARE(retry.used(), 0);
    }

    // A success resets the counter, so the next call again gets every retry.
    void successResetsCounter()
    {
        AuthSession session(partnerToken(), m_config);
        CloudCallRetry retry(&session, nullptr, 2);
        const RequestError serverError{RequestError::ServerError, 2, {}};

        FlakyCall first{2, serverError};
        int value = 0;
        retry.run<int>("First request", first.issue(), [&](const int& v) { value = v; });
        QVERIFY(QTest::qWaitFor([&] { return value == 42; }, 5000));
        QCOMPARE(first.issued, 3);
        QVERIFY(boxes().isEmpty());

        FlakyCall second{100, serverError};
        bool failed = false;
        retry.run<int>("Second request", second.issue(), [](const int&) {}, [&](const RequestError&) { failed = true; });
        QVERIFY(QTest::qWaitFor([&] { return failed; }, 5000));
        QCOMPARE(second.issued, 3);
        QCOMPARE(boxes().size(), 1);
    }

    void internalError()
    {
        AuthSession session(partnerToken(), m_config);
        CloudCallRetry retry(&session, nullptr, 0);
        FlakyCall call{100, {RequestError::InternalError, 7, "no space left"}};
        bool failed = false;
        LogCapture log;
        retry.run<int>("Passphrase request", call.issue(), [](const int&) {}, [&](const RequestError&) { failed = true; });
        QVERIFY(QTest::qWaitFor([&] { return failed; }, 5000));
        QCOMPARE(call.issued, 1);
        QCOMPARE(boxes(), QStringList{"Internal Error/Internal error: no space left"});
        QVERIFY(log.contains(QtCriticalMsg, "Internal Error. Error code: 7. Description: no space left"));
    }

    // An expired token: re-sign-in, then the same request again with the new token; no retry used.
    void authenticationRepeatsWithNewToken()
    {
        CloudSim sim({"--token-expiry", "1"});
        QVERIFY(sim.start());
        const QJsonObject config{{"auth_url", sim.authUrl()}};
        AuthSession session(sim.signIn("partner"), config);
        const QString oldToken = session.token();
        VuskRequest request(&session, sim.vuskUrl());
        CloudCallRetry retry(&session, nullptr, 5);
        QString fresh;
        QStringList asked;
        retry.setTokenSource([&](const QString& authUrl, const QString& logoutUrl, QWidget*) -> std::optional<QString> {
            asked << authUrl + "|" + logoutUrl;
            fresh = sim.signIn("partner");
            return fresh;
        });

        Outcome warmUp;
        runClients(retry, request, warmUp); // uses the token's only request
        QCOMPARE(warmUp.successes, 1);
        QVERIFY(asked.isEmpty());

        Outcome outcome;
        runClients(retry, request, outcome);
        QCOMPARE(outcome.successes, 1);
        QCOMPARE(outcome.clients.size(), 3);
        QCOMPARE(asked, QStringList{sim.authUrl() + "|"});
        QVERIFY(!fresh.isEmpty() && fresh != oldToken);
        QCOMPARE(session.token(), fresh);
        QCOMPARE(sim.requests().filter("/vusk/"),
                 (QStringList{"GET /vusk/clients?partner_id=7 200", "GET /vusk/clients?partner_id=7 401",
                              "GET /vusk/clients?partner_id=7 200"}));
        QCOMPARE(boxes(), QStringList{"Authentication Error/Your session has timed out. Please login again."});
        QCOMPARE(retry.used(), 0);
    }

    void authenticationAbandoned()
    {
        CloudSim sim({"--token-expiry", "0"});
        QVERIFY(sim.start());
        AuthSession session(sim.signIn("partner"), m_config);
        VuskRequest request(&session, sim.vuskUrl());
        CloudCallRetry retry(&session, nullptr, 5);
        retry.setTokenSource([](const QString&, const QString&, QWidget*) { return std::optional<QString>(); });
        LogCapture log;
        Outcome outcome;
        runClients(retry, request, outcome);
        QCOMPARE(outcome.failures, 1);
        QCOMPARE(outcome.error.kind, RequestError::AuthenticationError);
        QCOMPARE(outcome.error.code, 204);
        QCOMPARE(sim.requests().filter("/vusk/").size(), 1);
        // Only the time-out notice: an authentication error itself is not shown.
        QCOMPARE(boxes(), QStringList{"Authentication Error/Your session has timed out. Please login again."});
        QVERIFY(log.contains(QtWarningMsg, "Token retrieving was canceled"));
        QCOMPARE(session.token(), QString());
    }
};

QTEST_MAIN(TestCloudCallRetry)
#include "tst_cloud_call_retry.moc"
