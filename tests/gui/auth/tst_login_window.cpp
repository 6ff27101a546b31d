#include "auth/login_window.h"
#include "auth/sign_in_flows.h"
#include "cloud/vusk_request.h"
#include "testsupport/cloud_sim.h"
#include "testsupport/log_capture.h"
#include "widgets/message_box.h"

#include "build_config.h"

#include <QtTest>
#include <QtWebEngineWidgets>

using namespace TmxAuth;
using CorvelTest::CloudSim;
using CorvelTest::LogCapture;
using CorvelWidgets::MessageBox;

namespace {

// Plays the operator in each login window: once its form is there, chooses `user` and presses sign-in, once.
class Operator : public QObject {
public:
    explicit Operator(const QString& user)
    {
        const QString script = QString("var b=document.getElementById('sign_in'),u=document.getElementById('user');"
                                       "if(b&&u&&!b.disabled&&document.readyState=='complete'){u.value='%1';"
                                       "b.click();b.disabled=true;}")
                                   .arg(user);
        connect(&m_poll, &QTimer::timeout, this, [script] {
            for (QWidget* widget : QApplication::topLevelWidgets())
                if (auto* login = qobject_cast<LoginWindow*>(widget); login && login->isVisible())
                    login->findChild<QWebEngineView*>("web_view")->page()->runJavaScript(script);
        });
        m_poll.start(200);
    }

private:
    QTimer m_poll;
};

} // namespace

class TestLoginWindow : public QObject {
    Q_OBJECT

    QTemporaryDir m_working;

private slots:
    void initTestCase()
    {
        QVERIFY(m_working.isValid());
        qputenv("CORVEL_WORKING_DIR", m_working.path().toUtf8());
        MessageBox::setAutoAnswer(true);
    }

    // Signed in with the page's own button; once the window is closed nothing under the working folder
    // holds the token or its payload, in any encoding, and the site's cookie still signs in at once.
    void signInLeavesNoTokenOnDisk()
    {
        CloudSim sim({"--sentinel", CORVEL_TOKEN_SENTINEL});
        QVERIFY(sim.start());
        Operator op("partner");
        const std::optional<QString> token = LoginWindow::getToken(sim.authUrl(), QString());
        QVERIFY(token.has_value());
        QVERIFY(!token->contains(CORVEL_TOKEN_SENTINEL));
        QVERIFY(sim.requests().contains("POST /authorization/vusk 200"));
        AuthSession session(*token);
        QCOMPARE(session.userData().username, QString("partner"));
        // Exactly the issued token: the simulator checks its signature.
        VuskAPI::VuskRequest request(&session, sim.vuskUrl());
        bool ok = false;
        request.getClients([&](const VuskAPI::Result<QList<VuskAPI::TmxClient>>& r) { ok = r.index() == 0; });
        QVERIFY(QTest::qWaitFor([&] { return ok; }, 10000));

        const QByteArray payload = token->section('.', 1, 1).toLatin1();
        QList<QByteArray> secrets{token->toLatin1(), payload, QByteArray::fromBase64(payload)};
        for (const QByteArray& secret : QList<QByteArray>(secrets)) {
            const QString text = QString::fromLatin1(secret);
            secrets << QByteArray(reinterpret_cast<const char*>(text.utf16()), text.size() * 2);
        }
        QTest::qWait(3000); // the engine writes its stores in the background
        QStringList holding;
        int count = 0;
        for (QDirIterator files(m_working.path(), QDir::Files | QDir::Hidden | QDir::System,
                                QDirIterator::Subdirectories);
             files.hasNext(); ++count) {
            QFile file(files.next());
            const QByteArray content = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
            for (const QByteArray& secret : secrets)
                if (content.contains(secret))
                    holding << files.filePath();
        }
        QVERIFY2(count > 0, "the web engine keeps no store under the working folder");
        QVERIFY2(holding.isEmpty(), qPrintable(holding.join('\n')));

        const std::optional<QString> again = LoginWindow::getToken(sim.authUrl(), QString());
        QVERIFY(again.has_value() && !again->isEmpty());
        QCOMPARE(sim.requests().filter("POST /authorization/vusk").size(), 1);
    }

    void logOutAndSignInAgain()
    {
        CloudSim sim({"--sentinel", CORVEL_TOKEN_SENTINEL});
        QVERIFY(sim.start());
        AuthSession session(sim.signIn("partner"));
        // The simulator logs a request after answering it: wait for the sign-in's own line.
        QTRY_VERIFY(sim.requests().contains("POST /authorization/vusk 200"));
        const int before = sim.requests().size();
        Operator op("client");
        LogCapture log;
        QVERIFY(logOutAndSignIn(session, sim.authUrl(), nullptr));
        QCOMPARE(session.userData().username, QString("client"));
        QCOMPARE(log.texts().filter("Logout: redirecting from "),
                 QStringList{"Logout: redirecting from " + sim.origin() + "/login to " + sim.authUrl()});
        const QStringList seen = sim.requests().mid(before).filter(QRegularExpression("^(GET|POST) /(auth|login)"));
        QCOMPARE(seen.first(), QString("GET /auth/logout 302"));
        QCOMPARE(seen.filter("GET /authorization/vusk 200").size(), 1);
        QCOMPARE(seen.last(), QString("POST /authorization/vusk 200"));
    }
};

int main(int argc, char** argv)
{
    TmxAuth::prepareWebEngine();
    QApplication app(argc, argv);
    TestLoginWindow test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_login_window.moc"
