#include "auth/sign_in_flows.h"
#include "testsupport/log_capture.h"
#include "widgets/message_box.h"

#include "test_tokens.h"

#include <QtTest>

using namespace TmxAuth;
using CorvelTest::LogCapture;
using CorvelWidgets::MessageBox;

Q_DECLARE_METATYPE(TmxAuth::StartSignIn)

namespace {

// Hands out scripted answers ("<none>" = window closed) and records what it was asked.
struct ScriptedSource {
    QStringList answers;
    QStringList asked; // "authUrl|logoutUrl"

    TokenSource source()
    {
        return [this](const QString& authUrl, const QString& logoutUrl, QWidget*) -> std::optional<QString> {
            asked << authUrl + "|" + logoutUrl;
            const QString answer = answers.isEmpty() ? QString("<none>") : answers.takeFirst();
            if (answer == "<none>")
                return std::nullopt;
            return answer;
        };
    }
};

QStringList boxes()
{
    QStringList out;
    for (const auto& box : MessageBox::shown())
        out << box.title + "/" + box.text;
    return out;
}

const QString Auth = "https://console.example.invalid/authorization/vusk";

} // namespace

class TestSignInFlows : public QObject {
    Q_OBJECT

    QJsonObject m_config{{"auth_url", Auth}};

private slots:
    void init()
    {
        MessageBox::setAutoAnswer(true);
        MessageBox::clearShown();
    }

    void atStart_data()
    {
        QTest::addColumn<QStringList>("answers");
        QTest::addColumn<StartSignIn>("outcome");
        QTest::addColumn<int>("windows");
        QTest::addColumn<QStringList>("shown");
        QTest::addColumn<QString>("criticalLine");

        const QString noToken = "Failed to retrieve token. Corvel will be closed.";
        const QString invalid = "Failed to parse CV token. Corvel will be closed.";
        const QStringList invalidBox{"Corvel error/Invalid security token received, Corvel will be closed"};
        QTest::newRow("first window") << QStringList{partnerToken()} << StartSignIn::SignedIn << 1 << QStringList{}
                                      << "";
        QTest::newRow("closed") << QStringList{"<none>"} << StartSignIn::NoToken << 1 << QStringList{} << noToken;
        QTest::newRow("three empty texts") << QStringList{"", "", ""} << StartSignIn::InvalidToken << 3
                                           << invalidBox << invalid;
        QTest::newRow("second window") << QStringList{incompleteToken(), partnerToken()} << StartSignIn::SignedIn << 2
                                       << QStringList{} << "";
        QTest::newRow("closed on the third") << QStringList{"x", "", "<none>"} << StartSignIn::NoToken << 3
                                             << QStringList{} << noToken;
        QTest::newRow("no fourth window") << QStringList{"a.b.c", "a.b.c", "a.b.c", partnerToken()}
                                          << StartSignIn::InvalidToken << 3 << invalidBox << invalid;
    }

    void atStart()
    {
        QFETCH(QStringList, answers);
        QFETCH(StartSignIn, outcome);
        QFETCH(int, windows);
        QFETCH(QStringList, shown);
        QFETCH(QString, criticalLine);

        ScriptedSource script{answers, {}};
        AuthSession session(QString(), m_config);
        LogCapture log;
        QCOMPARE(signInAtStart(session, m_config, script.source()), outcome);
        QCOMPARE(script.asked, QStringList(QVector<QString>(windows, Auth + "|").toList()));
        QCOMPARE(boxes(), shown);
        QCOMPARE(session.isValid(), outcome == StartSignIn::SignedIn);
        if (!criticalLine.isEmpty())
            QVERIFY(log.contains(QtCriticalMsg, criticalLine));
        QVERIFY(!log.contains("Creating main window."));
    }

    void reSignIn_data()
    {
        QTest::addColumn<QStringList>("answers");
        QTest::addColumn<int>("result");
        QTest::addColumn<int>("windows");
        QTest::addColumn<QStringList>("extraBoxes");
        QTest::addColumn<QString>("warning");

        QTest::newRow("signed in") << QStringList{partnerToken()} << 0 << 1 << QStringList{} << "";
        QTest::newRow("after two invalid") << QStringList{"", incompleteToken(), partnerToken()} << 0 << 3
                                           << QStringList{} << "";
        QTest::newRow("cancelled") << QStringList{"<none>"} << 1 << 1 << QStringList{}
                                   << "Token retrieving was canceled";
        QTest::newRow("three invalid") << QStringList{"x", "", incompleteToken(), partnerToken()} << 1 << 3
                                       << QStringList{"Authentication Error/Authentication failed. Please try login again."}
                                       << "Invalid token. Authentication Error. Your session has timed out. Please "
                                          "login again.";
    }

    void reSignIn()
    {
        QFETCH(QStringList, answers);
        QFETCH(int, result);
        QFETCH(int, windows);
        QFETCH(QStringList, extraBoxes);
        QFETCH(QString, warning);

        ScriptedSource script{answers, {}};
        AuthSession session(partnerToken(), m_config);
        LogCapture log;
        QCOMPARE(reSignInAfterTimeout(session, nullptr, script.source()), result);
        QCOMPARE(script.asked.size(), windows);
        QCOMPARE(boxes(), QStringList{"Authentication Error/Your session has timed out. Please login again."}
                              + extraBoxes);
        QVERIFY(log.contains(QtWarningMsg, "Authentication Error Your session has timed out. Please login again."));
        QCOMPARE(session.isValid(), result == 0);
        if (!warning.isEmpty())
            QVERIFY(log.contains(QtWarningMsg, warning));
        if (answers.first() == "<none>")
            QCOMPARE(session.token(), QString());
    }

    void logOut_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<bool>("result");
        QTest::addColumn<QStringList>("shown");

        QTest::newRow("new operator") << makeToken(R"({"data":{"client_id":5,"username":"c","user_display_name":"C"}})")
                                      << true << QStringList{};
        QTest::newRow("closed") << "<none>" << false << QStringList{};
        QTest::newRow("invalid") << incompleteToken() << false
                                 << QStringList{"Authentication Error/Authentication failed. Please try login again."};
    }

    void logOut()
    {
        QFETCH(QString, answer);
        QFETCH(bool, result);
        QFETCH(QStringList, shown);

        ScriptedSource script{{answer}, {}};
        AuthSession session(partnerToken(), m_config);
        LogCapture log;
        QCOMPARE(logOutAndSignIn(session, nullptr, script.source()), result);
        QCOMPARE(script.asked, QStringList{Auth + "|https://console.example.invalid/auth/logout"});
        QCOMPARE(boxes(), shown);
        QVERIFY(log.contains(QtInfoMsg, "Logout procedure is called"));
        QCOMPARE(session.isValid(), result);
        if (result)
            QCOMPARE(session.userData().role, UserRole::Client);
    }
};

QTEST_MAIN(TestSignInFlows)
#include "tst_sign_in_flows.moc"
