#include "auth/request_interceptor.h"
#include "testsupport/log_capture.h"

#include <QSignalSpy>
#include <QtTest>

using namespace TmxAuth;
using CorvelTest::LogCapture;

class TestRequestInterceptor : public QObject {
    Q_OBJECT

private slots:
    void requests_data()
    {
        QTest::addColumn<bool>("logoutPending");
        QTest::addColumn<QStringList>("urls");
        QTest::addColumn<QStringList>("tokens");
        QTest::addColumn<QStringList>("redirects");

        const QString s = tokenSentinel();
        const QString auth = "https://h/authorization/vusk";
        QTest::newRow("token hand-over") << false << QStringList{auth, s + "aa.bb+/=.cc"} << QStringList{"aa.bb+/=.cc"}
                                         << QStringList{};
        QTest::newRow("every occurrence removed") << false << QStringList{s + "t1" + s} << QStringList{"t1"}
                                                  << QStringList{};
        QTest::newRow("case-sensitive") << false << QStringList{s.toUpper() + "t"} << QStringList{} << QStringList{};
        QTest::newRow("login without logout") << false << QStringList{"https://h/login"} << QStringList{}
                                              << QStringList{};
        QTest::newRow("logout redirects once")
            << true
            << QStringList{"https://h/auth/logout", "https://h/login", "https://h/static/login.css",
                           "https://h/login", auth}
            << QStringList{} << QStringList{auth};
        QTest::newRow("logout then token") << true << QStringList{"https://h/auth/logout", "https://h/login", s + "x.y.z"}
                                           << QStringList{"x.y.z"} << QStringList{auth};
        QTest::newRow("LOGIN is not /login") << true << QStringList{"https://h/LOGIN"} << QStringList{} << QStringList{};
    }

    void requests()
    {
        QFETCH(bool, logoutPending);
        QFETCH(QStringList, urls);
        QFETCH(QStringList, tokens);
        QFETCH(QStringList, redirects);

        RequestInterceptor interceptor("https://h/authorization/vusk", logoutPending);
        QSignalSpy tokenSpy(&interceptor, &RequestInterceptor::sendToken);
        QSignalSpy redirectSpy(&interceptor, &RequestInterceptor::redirect);
        LogCapture log;
        for (const QString& url : urls)
            interceptor.inspect(url);

        QStringList gotTokens, gotRedirects;
        for (const auto& args : tokenSpy)
            gotTokens << args.at(0).toString();
        for (const auto& args : redirectSpy)
            gotRedirects << args.at(0).toString();
        QCOMPARE(gotTokens, tokens);
        QCOMPARE(gotRedirects, redirects);
        QCOMPARE(log.count("Logout: redirecting from https://h/login to https://h/authorization/vusk"),
                 int(redirects.size()));
        QCOMPARE(interceptor.logoutPending(), logoutPending && redirects.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestRequestInterceptor)
#include "tst_request_interceptor.moc"
