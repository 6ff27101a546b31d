#include "auth/auth_session.h"
#include "testsupport/log_capture.h"

#include <QtTest>

using namespace TmxAuth;
using CorvelTest::LogCapture;

Q_DECLARE_METATYPE(TmxAuth::UserRole)

namespace {

QString token(const QByteArray& payloadJson)
{
    return "hdr." + QString::fromLatin1(payloadJson.toBase64()) + ".sig";
}

QString urlSafe(const QString& standard)
{
    QString text = standard;
    return text.replace('+', '-').replace('/', '_');
}

const char* const Odd = R"({"data":{"username":"op","user_display_name":"Op ~~~ ??? >>>","reseller_id":5}})";

} // namespace

class TestAuthSession : public QObject {
    Q_OBJECT

private slots:
    void decode_data()
    {
        QTest::addColumn<QString>("tokenText");
        QTest::addColumn<UserRole>("role");
        QTest::addColumn<quint64>("clientId");
        QTest::addColumn<QString>("resellerId");
        QTest::addColumn<QString>("displayName");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<QStringList>("logLines");

        const QString client = "cliend_id is presented, user role detected as Client.";
        const QString partner = "reseller_id is presented, user role detected as Partner.";
        const QString admin = "cliend_id or reseller_id is not presented, user role detected as VelmoraAdmin.";
        const QString parseFailed = "Failed to parse JSON data. Array name: data";

        QTest::newRow("no dots") << "abcdef" << UserRole::None << quint64(0) << "" << "" << false
                                 << QStringList{"Token payload is empty."};
        QTest::newRow("one dot") << "abc.def" << UserRole::None << quint64(0) << "" << "" << false
                                 << QStringList{"Token payload is empty."};
        QTest::newRow("client and reseller")
            << token(R"({"data":{"client_id":42,"reseller_id":7,"username":"op","user_display_name":"Op"}})")
            << UserRole::Client << quint64(42) << "7" << "Op" << true << QStringList{client};
        QTest::newRow("partner") << token(R"({"data":{"reseller_id":123,"username":"p","user_display_name":"P"}})")
                                 << UserRole::Partner << quint64(0) << "123" << "P" << true << QStringList{partner};
        QTest::newRow("admin without ids") << token(R"({"data":{"username":"adm","user_display_name":"Adm"}})")
                                           << UserRole::VelmoraAdmin << quint64(0) << "0" << "Adm" << true
                                           << QStringList{admin};
        QTest::newRow("empty display name")
            << token(R"({"data":{"reseller_id":1,"username":"op","user_display_name":""}})") << UserRole::Partner
            << quint64(0) << "1" << "op" << true
            << QStringList{"Token user_display_name field is empty. username field will be used", partner};
        QTest::newRow("null reseller")
            << token(R"({"data":{"reseller_id":null,"username":"op","user_display_name":"Op"}})")
            << UserRole::Partner << quint64(0) << "0" << "Op" << true
            << QStringList{"Failed to get JSON reseller_id field in data", partner};
        QTest::newRow("null username")
            << token(R"({"data":{"reseller_id":3,"username":null,"user_display_name":"Op"}})") << UserRole::Partner
            << quint64(0) << "3" << "Op" << false << QStringList{"Failed to get JSON username field in data", partner};
        QTest::newRow("reseller 10000000") << token(R"({"data":{"reseller_id":10000000,"username":"op"}})")
                                           << UserRole::Partner << quint64(0) << "1e+07" << "op" << true
                                           << QStringList{"Token user_display_name field is empty. username "
                                                          "field will be used",
                                                          partner};
        QTest::newRow("reseller 1234567") << token(R"({"data":{"reseller_id":1234567,"username":"o","user_display_name":"O"}})")
                                          << UserRole::Partner << quint64(0) << "1.23457e+06" << "O" << true
                                          << QStringList{partner};
        QTest::newRow("large client id") << token(R"({"data":{"client_id":5000000000,"username":"c","user_display_name":"C"}})")
                                         << UserRole::Client << quint64(5000000000) << "0" << "C" << true
                                         << QStringList{client};
        QTest::newRow("standard alphabet") << token(Odd) << UserRole::Partner << quint64(0) << "5"
                                           << "Op ~~~ ??? >>>" << true << QStringList{partner};
        QTest::newRow("url-safe alphabet rejected") << urlSafe(token(Odd)) << UserRole::None << quint64(0) << ""
                                                    << "" << false << QStringList{parseFailed};
        QTest::newRow("no data member") << token(R"({"username":"op"})") << UserRole::None << quint64(0) << "" << ""
                                        << false << QStringList{parseFailed};
        QTest::newRow("data not an object") << token(R"({"data":[1,2]})") << UserRole::None << quint64(0) << ""
                                            << "" << false << QStringList{parseFailed};
        QTest::newRow("payload not json") << token("not json at all") << UserRole::None << quint64(0) << "" << ""
                                          << false << QStringList{parseFailed};
        QTest::newRow("extra dots widen the payload")
            << token(R"({"data":{"username":"a","user_display_name":"A"}})") + ".more" << UserRole::None
            << quint64(0) << "" << "" << false << QStringList{parseFailed};
    }

    void decode()
    {
        QFETCH(QString, tokenText);
        QFETCH(UserRole, role);
        QFETCH(quint64, clientId);
        QFETCH(QString, resellerId);
        QFETCH(QString, displayName);
        QFETCH(bool, valid);
        QFETCH(QStringList, logLines);

        const QJsonObject config;
        LogCapture log;
        const AuthSession session(tokenText, config);
        const UserData user = session.userData();
        QCOMPARE(user.role, role);
        QCOMPARE(user.clientId, clientId);
        QCOMPARE(user.resellerId, resellerId);
        QCOMPARE(user.userDisplayName, displayName);
        QCOMPARE(session.isValid(), valid);
        QCOMPARE(session.token(), tokenText);
        QCOMPARE(log.texts(), logLines);
    }

    void acceptToken_data()
    {
        QTest::addColumn<QString>("tokenText");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<QString>("tokenAfter");
        QTest::addColumn<QString>("logLine");

        const QString good = token(R"({"data":{"reseller_id":7,"username":"op","user_display_name":"Op"}})");
        QTest::newRow("valid") << good << true << good << "";
        QTest::newRow("empty") << "" << false << "" << "Token is empty. Authentication Error.";
        QTest::newRow("undecodable") << "x.y!.z" << false << "x.y!.z" << "Invalid token. Authentication Error.";
        QTest::newRow("decodes but incomplete") << token(R"({"data":{"reseller_id":7,"username":""}})") << false
                                                << token(R"({"data":{"reseller_id":7,"username":""}})")
                                                << "Invalid token. Authentication Error.";
    }

    void acceptToken()
    {
        QFETCH(QString, tokenText);
        QFETCH(bool, accepted);
        QFETCH(QString, tokenAfter);
        QFETCH(QString, logLine);

        const QJsonObject config;
        // A session that was valid before: a rejected token must not leave the old operator behind.
        AuthSession session(token(R"({"data":{"client_id":1,"username":"old","user_display_name":"Old"}})"), config);
        QVERIFY(session.isValid());
        LogCapture log;
        QCOMPARE(session.acceptToken(tokenText), accepted);
        QCOMPARE(session.isValid(), accepted);
        QCOMPARE(session.token(), tokenAfter);
        if (!accepted)
            QCOMPARE(session.userData().username, QString());
        if (!logLine.isEmpty())
            QVERIFY2(log.contains(QtWarningMsg, logLine), qPrintable(log.texts().join('\n')));
        else
            QVERIFY(!log.contains(QtWarningMsg, "Invalid token. Authentication Error."));
    }

    void resetKeepsToken()
    {
        const QJsonObject config;
        const QString good = token(R"({"data":{"reseller_id":7,"username":"op","user_display_name":"Op"}})");
        AuthSession session(good, config);
        session.resetUserData();
        QVERIFY(!session.isValid());
        QCOMPARE(session.userData().role, UserRole::None);
        QCOMPARE(session.token(), good);
    }

    void logoutUrl_data()
    {
        QTest::addColumn<QString>("authUrl");
        QTest::addColumn<QString>("expected");
        QTest::newRow("cloud") << "https://console.cloud.invalid/authorization/vusk"
                               << "https://console.cloud.invalid/auth/logout";
        QTest::newRow("port") << "http://127.0.0.1:8123/authorization/vusk" << "http://127.0.0.1:8123/auth/logout";
        QTest::newRow("every occurrence") << "https://h/authorization/vusk/x/authorization/vusk"
                                          << "https://h//x/auth/logout";
        QTest::newRow("case-sensitive") << "https://h/Authorization/Vusk" << "https://h/Authorization/Vuskauth/logout";
    }

    void logoutUrl()
    {
        QFETCH(QString, authUrl);
        QFETCH(QString, expected);
        QCOMPARE(AuthSession::logoutUrl(authUrl), expected);
    }
};

QTEST_GUILESS_MAIN(TestAuthSession)
#include "tst_auth_session.moc"
