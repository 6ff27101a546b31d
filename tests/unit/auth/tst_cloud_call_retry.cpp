#include "auth/sign_in_flows.h"
#include "cloud/cloud_call_retry.h"
#include "cloud/vusk_request.h"
#include "core/settings.h"
#include "testsupport/cloud_sim.h"
#include "testsupport/log_capture.h"
#include "testsupport/test_tokens.h"
#include "widgets/message_box.h"

#include <QTimer>
#include <QtTest>

using namespace TmxAuth;
using namespace VuskAPI;
using CorvelWidgets::MessageBox;

namespace {

// The policy as the console wires it: the sign-in flows for a new token, their box for an error.
CloudCallRetry consolePolicy(AuthSession& session, int retries, const QString& authUrl, const TokenSource& source = {})
{
    return CloudCallRetry(
        retries, [&session, authUrl, source] { return reSignInAfterTimeout(session, authUrl, nullptr, source) == 0; },
        [](const RequestError& error) { showRequestError(nullptr, error); });
}

QStringList boxes()
{
    QStringList out;
    for (const auto& box : MessageBox::shown())
        out << box.title + "/" + box.text;
    return out;
}

} // namespace

class TestCloudCallRetry : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        MessageBox::setAutoAnswer(true);
        MessageBox::clearShown();
    }

    // Calls answered from the event loop: `failures` errors, then 42.
    void serverAndInternalErrors_data()
    {
        QTest::addColumn<int>("retries"); // -1: the configured default
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("failures");
        QTest::addColumn<int>("httpStatus"); // 0: no server answered
        QTest::addColumn<QString>("shown");

        const int server = RequestError::ServerError;
        const QString serverBox = "Server Error/Error code: 7\nPlease check your internet connection and try again";
        QTest::newRow("default, failing for good") << -1 << server << 100 << 0 << serverBox;
        QTest::newRow("server answered 500")
            << 0 << server << 100 << 500
            << "Server Error/Error code: 7\nHTTP status: 500, reason: Internal Server Error\nPlease try again later";
        QTest::newRow("recovers on the last retry") << 2 << server << 2 << 0 << QString();
        QTest::newRow("internal error") << 2 << int(RequestError::InternalError) << 100 << 0
                                        << "Internal Error/Internal error: no space left";
    }

    void serverAndInternalErrors()
    {
        QFETCH(int, retries);
        QFETCH(int, kind);
        QFETCH(int, failures);
        QFETCH(int, httpStatus);
        QFETCH(QString, shown);
        AuthSession session(partnerToken());
        const int allowed = retries < 0 ? Corvel::Settings().connectionRetriesNumber() : retries;
        CloudCallRetry retry = consolePolicy(session, allowed, QString());
        CorvelTest::LogCapture log;
        const RequestError error{RequestError::Kind(kind), 7, "no space left", httpStatus,
                                 httpStatus ? "Internal Server Error" : ""};
        int calls = 0, value = 0, failed = 0;
        retry.run<int>(
            "Passphrase request",
            [&](Callback<int> cb) {
                const Result<int> result = calls++ < failures ? Result<int>(error) : Result<int>(42);
                QTimer::singleShot(0, [=] { cb(result); });
            },
            [&](const int& v) { value = v; }, [&](const RequestError&) { ++failed; });
        QVERIFY(QTest::qWaitFor([&] { return value == 42 || failed; }, 5000));
        QTest::qWait(20);
        QCOMPARE(calls, qMin(failures, allowed) + 1);
        QCOMPARE(failed, shown.isEmpty() ? 0 : 1);
        QCOMPARE(boxes(), shown.isEmpty() ? QStringList() : QStringList{shown});
        QCOMPARE(retry.used(), 0); // the next call starts with every retry again
        QStringList retryLines;    // one per failure: what is left, down to none
        for (int left = allowed; left > allowed - qMin(failures, calls); --left)
            retryLines << (left > 0 ? QString("Retrying attempts left: %1").arg(left)
                                    : QString("Retrying attempts has been exhausted"));
        QCOMPARE(log.texts().filter("Retrying attempts"), retryLines);
    }

    // An expired token: re-sign-in, then the same request again with the new token; no retry used.
    void authenticationRepeatsWithNewToken()
    {
        CorvelTest::CloudSim sim({"--token-expiry", "1"});
        QVERIFY(sim.start());
        AuthSession session(sim.signIn("partner"));
        VuskRequest request(&session, sim.vuskUrl());
        QString fresh;
        QStringList asked;
        CloudCallRetry retry =
            consolePolicy(session, 5, sim.authUrl(),
                          [&](const QString& authUrl, const QString& logoutUrl, QWidget*) -> std::optional<QString> {
                              asked << authUrl + "|" + logoutUrl;
                              return fresh = sim.signIn("partner");
                          });
        int clients = 0;
        for (int round = 1; round <= 2; ++round) { // the first uses the token's only request
            retry.run<QList<TmxClient>>(
                "Clients request", [&request](Callback<QList<TmxClient>> cb) { request.getClients(cb); },
                [&](const QList<TmxClient>& list) { clients += list.size(); });
            QVERIFY(QTest::qWaitFor([&] { return clients == 6 * round; }, 30000));
            QCOMPARE(asked.size(), round - 1);
        }
        QCOMPARE(asked, QStringList{sim.authUrl() + "|"});
        QCOMPARE(session.token(), fresh);
        QCOMPARE(sim.requests().filter("/vusk/"),
                 QStringList({"GET /vusk/clients?partner_id=7 200", "GET /vusk/clients?partner_id=7 401",
                              "GET /vusk/clients?partner_id=7 200"}));
        // Only the time-out notice: an authentication error itself is not shown.
        QCOMPARE(boxes(), QStringList{"Authentication Error/Your session has timed out. Please login again."});
        QCOMPARE(retry.used(), 0);
    }
};

QTEST_MAIN(TestCloudCallRetry)
#include "tst_cloud_call_retry.moc"
