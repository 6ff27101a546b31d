#include "auth/request_interceptor.h"
#include "auth/sign_in_flows.h"
#include "testsupport/log_capture.h"
#include "testsupport/wizard_fixture.h"
#include "widgets/message_box.h"

#include "testsupport/test_tokens.h"

#include <QtTest>

using namespace TmxAuth;
using CorvelTest::LogCapture;
using CorvelWidgets::MessageBox;

namespace {
const QString Auth = "https://console.example.invalid/authorization/vusk";
const QString Logout = "https://console.example.invalid/auth/logout";
const QString TimedOut = "Authentication Error: Your session has timed out. Please login again.";
const QString Failed = "Authentication Error: Authentication failed. Please try login again.";
} // namespace

class TestSignInFlows : public QObject {
    Q_OBJECT

private slots:
    // The sign-in page's requests: a token behind the sentinel is handed on; after a log-out, the
    // first login page (and only the first) is sent to the sign-in address instead.
    void interceptor()
    {
        TmxAuth::RequestInterceptor interceptor("https://auth.example/authorization/vusk", true);
        QSignalSpy tokens(&interceptor, &TmxAuth::RequestInterceptor::sendToken);
        QSignalSpy redirects(&interceptor, &TmxAuth::RequestInterceptor::redirect);
        interceptor.inspect("https://cloud.example/home");
        interceptor.inspect("https://cloud.example/login?next=1");
        interceptor.inspect("https://cloud.example/login?next=2");
        QCOMPARE(redirects.size(), 1);
        QCOMPARE(redirects.first().first().toString(), QString("https://auth.example/authorization/vusk"));
        interceptor.inspect("https://cloud.example/done" + TmxAuth::tokenSentinel() + "abc.def.ghi");
        QCOMPARE(tokens.size(), 1);
        QCOMPARE(tokens.first().first().toString(), QString("https://cloud.example/doneabc.def.ghi"));
    }

    // Each flow against scripted sign-in windows ("<none>": the window was closed).
    void flows_data()
    {
        QTest::addColumn<QString>("flow");
        QTest::addColumn<QStringList>("answers");
        QTest::addColumn<int>("result");
        QTest::addColumn<int>("windows");
        QTest::addColumn<QStringList>("shown");

        const QStringList invalidBox{"Corvel error: Invalid security token received, Corvel will be closed"};
        const QString client = makeToken(R"({"data":{"client_id":5,"username":"c","user_display_name":"C"}})");
        QTest::newRow("start: first window")
            << "start" << QStringList{partnerToken()} << int(StartSignIn::SignedIn) << 1 << QStringList{};
        QTest::newRow("start: closed") << "start" << QStringList{"<none>"} << int(StartSignIn::NoToken) << 1
                                       << QStringList{};
        QTest::newRow("start: second window") << "start" << QStringList{incompleteToken(), partnerToken()}
                                              << int(StartSignIn::SignedIn) << 2 << QStringList{};
        QTest::newRow("start: no fourth window") << "start" << QStringList{"", "a.b.c", "", partnerToken()}
                                                 << int(StartSignIn::InvalidToken) << 3 << invalidBox;
        QTest::newRow("re-sign-in: after two invalid")
            << "resign" << QStringList{"", incompleteToken(), partnerToken()} << 0 << 3 << QStringList{TimedOut};
        QTest::newRow("re-sign-in: cancelled") << "resign" << QStringList{"<none>"} << 1 << 1 << QStringList{TimedOut};
        QTest::newRow("re-sign-in: three invalid")
            << "resign" << QStringList{"x", "", incompleteToken(), partnerToken()} << 1 << 3
            << QStringList{TimedOut, Failed};
        QTest::newRow("log out: new operator") << "logout" << QStringList{client} << 1 << 1 << QStringList{};
        QTest::newRow("log out: invalid")
            << "logout" << QStringList{incompleteToken()} << 0 << 1 << QStringList{Failed};
    }

    void flows()
    {
        QFETCH(QString, flow);
        QFETCH(QStringList, answers);
        QFETCH(int, result);
        QFETCH(int, windows);
        QFETCH(QStringList, shown);

        MessageBox::setAutoAnswer(true);
        MessageBox::clearShown();
        QStringList asked;
        const TokenSource source = [&](const QString& authUrl, const QString& logoutUrl,
                                       QWidget*) -> std::optional<QString> {
            asked << authUrl + "|" + logoutUrl;
            const QString answer = answers.value(asked.size() - 1, "<none>");
            return answer == "<none>" ? std::nullopt : std::optional<QString>(answer);
        };
        AuthSession session(flow == "start" ? QString() : partnerToken());
        LogCapture log;
        int got = 0;
        if (flow == "start")
            got = int(signInAtStart(session, Auth, source));
        else if (flow == "resign")
            got = reSignInAfterTimeout(session, Auth, nullptr, source);
        else
            got = logOutAndSignIn(session, Auth, nullptr, source);
        QCOMPARE(got, result);
        QCOMPARE(asked, QStringList(QVector<QString>(windows, Auth + "|" + (flow == "logout" ? Logout : "")).toList()));
        QCOMPARE(shownBoxes(), shown);
        const bool signedIn = flow == "resign" ? result == 0 : result == (flow == "logout" ? 1 : 0);
        QCOMPARE(session.isValid(), signedIn);
        if (answers.value(windows - 1) == "<none>" && flow != "start")
            QCOMPARE(session.token(), QString());
        if (flow == "start" && !signedIn)
            QVERIFY(log.contains(QtCriticalMsg, result == int(StartSignIn::NoToken)
                                                    ? "Failed to retrieve token. Corvel will be closed."
                                                    : "Failed to parse CV token. Corvel will be closed."));
    }
};

QTEST_MAIN(TestSignInFlows)
#include "tst_sign_in_flows.moc"
