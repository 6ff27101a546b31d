#include "session/auth_session.h"
#include "testsupport/log_capture.h"

#include "testsupport/test_tokens.h"

#include <QtTest>

using namespace TmxAuth;
using CorvelTest::LogCapture;

namespace {

// "role client reseller name", e.g. "partner 0 7 Op".
QString describe(const UserData& user)
{
    static const char* const roles[] = {"none", "admin", "client", "partner"};
    return QString("%1 %2 %3 %4")
        .arg(roles[int(user.role)])
        .arg(user.clientId)
        .arg(user.resellerId, user.userDisplayName);
}

const QByteArray Odd = R"({"data":{"username":"op","user_display_name":"Op ~~~ ??? >>>","reseller_id":5}})";

} // namespace

class TestAuthSession : public QObject {
    Q_OBJECT

private slots:
    // Each token replaces the operator signed in before it, as a new sign-in does.
    void acceptToken_data()
    {
        QTest::addColumn<QString>("tokenText");
        QTest::addColumn<QString>("user");
        QTest::addColumn<QStringList>("logLines"); // an accepted token logs no warning of its own

        const QString client = "cliend_id is presented, user role detected as Client.";
        const QString partner = "reseller_id is presented, user role detected as Partner.";
        const QString noName = "Token user_display_name field is empty. username field will be used";
        const QString invalid = "Invalid token. Authentication Error.";
        const QString parseFailed = "Failed to parse JSON data. Array name: data";
        QString urlSafe = makeToken(Odd);
        urlSafe.replace('+', '-').replace('/', '_');
        const auto nested = [](int arrays) {
            return makeToken(R"({"data":{"reseller_id":1,"username":"op","x":)" + QByteArray(arrays, '[') +
                             QByteArray(arrays, ']') + "}}");
        };

        QTest::newRow("empty") << ""
                               << "none 0  "
                               << QStringList{"Token is empty. Authentication Error.", "Token payload is empty."};
        QTest::newRow("one dot") << "abc.def"
                                 << "none 0  " << QStringList{"Token payload is empty.", invalid};
        QTest::newRow("client and reseller")
            << makeToken(R"({"data":{"client_id":42,"reseller_id":7,"username":"op","user_display_name":"Op"}})")
            << "client 42 7 Op" << QStringList{client};
        QTest::newRow("admin without ids")
            << makeToken(R"({"data":{"username":"adm","user_display_name":"Adm"}})") << "admin 0 0 Adm"
            << QStringList{"cliend_id or reseller_id is not presented, user role detected as VelmoraAdmin."};
        QTest::newRow("empty display name")
            << makeToken(R"({"data":{"reseller_id":1,"username":"op","user_display_name":""}})") << "partner 0 1 op"
            << QStringList{noName, partner};
        QTest::newRow("null reseller")
            << makeToken(R"({"data":{"reseller_id":null,"username":"op","user_display_name":"Op"}})")
            << "partner 0 0 Op" << QStringList{"Failed to get JSON reseller_id field in data", partner};
        QTest::newRow("reseller 10000000") << makeToken(R"({"data":{"reseller_id":10000000,"username":"op"}})")
                                           << "partner 0 1e+07 op" << QStringList{noName, partner};
        QTest::newRow("no username") << incompleteToken() << "partner 0 7 " << QStringList{noName, partner, invalid};
        QTest::newRow("standard alphabet") << makeToken(Odd) << "partner 0 5 Op ~~~ ??? >>>" << QStringList{partner};
        QTest::newRow("url-safe alphabet rejected") << urlSafe << "none 0  " << QStringList{parseFailed, invalid};
        QTest::newRow("payload 64 levels deep") << nested(62) << "partner 0 1 op" << QStringList{noName, partner};
        QTest::newRow("payload 65 levels deep")
            << nested(63) << "none 0  " << QStringList{"JSON nested deeper than 64 levels", parseFailed, invalid};
    }

    void acceptToken()
    {
        QFETCH(QString, tokenText);
        QFETCH(QString, user);
        QFETCH(QStringList, logLines);

        AuthSession session(makeToken(R"({"data":{"client_id":1,"username":"old","user_display_name":"Old"}})"));
        LogCapture log;
        const bool accepted = !logLines.contains("Invalid token. Authentication Error.") && !tokenText.isEmpty();
        QCOMPARE(session.acceptToken(tokenText), accepted);
        QCOMPARE(session.isValid(), accepted);
        QCOMPARE(session.token(), tokenText);
        QCOMPARE(describe(session.userData()), user);
        QCOMPARE(log.texts(), logLines);
    }
};

QTEST_GUILESS_MAIN(TestAuthSession)
#include "tst_auth_session.moc"
