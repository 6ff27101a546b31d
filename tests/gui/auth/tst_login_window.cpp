#include "auth/login_window.h"
#include "auth/sign_in_flows.h"
#include "cloud/vusk_request.h"
#include "testsupport/cloud_sim.h"
#include "testsupport/log_capture.h"
#include "widgets/message_box.h"

#include "build_config.h"

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTimer>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineView>
#include <QtTest>

using namespace TmxAuth;
using CorvelTest::CloudSim;
using CorvelTest::LogCapture;
using CorvelWidgets::MessageBox;

namespace {

LoginWindow* visibleLoginWindow()
{
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* window = qobject_cast<LoginWindow*>(widget); window && window->isVisible())
            return window;
    return nullptr;
}

// Plays the operator while a login window is open: on each new window, waits for the sign-in form,
// optionally takes a screenshot, chooses `user` and presses the page's own sign-in button.
class Operator : public QObject {
public:
    explicit Operator(const QString& user, const QString& screenshot = {}) : m_user(user), m_screenshot(screenshot)
    {
        connect(&m_poll, &QTimer::timeout, this, &Operator::poll);
        m_poll.start(100);
    }

    int windowsSeen() const { return m_windows; }
    void closeInstead() { m_close = true; }

private:
    void poll()
    {
        LoginWindow* window = visibleLoginWindow();
        if (!window)
            return;
        if (window != m_current) {
            m_current = window;
            ++m_windows;
            m_clicked = false;
            m_formSince = 0;
            if (m_close) {
                QTimer::singleShot(300, window, &QWidget::close);
                return;
            }
        }
        if (m_clicked || m_close)
            return;
        const QString script = QStringLiteral(
            "(function(){var b=document.getElementById('sign_in');var u=document.getElementById('user');"
            "if(!b||!u)return false;if(%1){u.value='%2';b.click();}return true;})()");
        const bool press = m_formSince >= 8; // let it paint first
        window->webView()->page()->runJavaScript(script.arg(press ? "true" : "false", m_user),
                                                 [this, window, press](const QVariant& found) {
                                                     if (!found.toBool() || m_current != window)
                                                         return;
                                                     if (press) {
                                                         m_clicked = true;
                                                         return;
                                                     }
                                                     if (++m_formSince == 8 && !m_screenshot.isEmpty())
                                                         window->grab().save(m_screenshot);
                                                 });
    }

    QString m_user;
    QString m_screenshot;
    QTimer m_poll;
    LoginWindow* m_current = nullptr;
    int m_windows = 0;
    int m_formSince = 0;
    bool m_clicked = false;
    bool m_close = false;
};

// No test may hang on a window that never finishes.
class Watchdog : public QObject {
public:
    Watchdog()
    {
        QTimer::singleShot(60000, this, [] {
            if (LoginWindow* window = visibleLoginWindow()) {
                qWarning("watchdog: closing a login window that did not finish");
                window->reject();
            }
        });
    }
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

    void init() { MessageBox::clearShown(); }

    void signInByClick()
    {
        CloudSim sim({"--sentinel", CORVEL_TOKEN_SENTINEL});
        QVERIFY(sim.start());
        Watchdog watchdog;
        const QString screenshot = QDir::temp().filePath("corvel_login_window.png");
        QFile::remove(screenshot);
        Operator op("partner", screenshot);

        const std::optional<QString> token = LoginWindow::getToken(sim.authUrl(), QString());
        QVERIFY(token.has_value());
        QCOMPARE(op.windowsSeen(), 1);
        QVERIFY(!token->contains(CORVEL_TOKEN_SENTINEL));
        QCOMPARE(token->split('.').size(), 3);
        const QJsonObject config;
        AuthSession session(*token, config);
        QVERIFY(session.isValid());
        QCOMPARE(session.userData().username, QString("partner"));
        QVERIFY(sim.requests().contains("POST /authorization/vusk 200"));
        QVERIFY(QFileInfo::exists(screenshot));

        // Exactly the issued token: the recovery API takes it.
        VuskAPI::VuskRequest request(&session, sim.vuskUrl());
        bool ok = false;
        request.getClients([&](const VuskAPI::Result<QList<VuskAPI::TmxClient>>& r) { ok = r.index() == 0; });
        QVERIFY(QTest::qWaitFor([&] { return ok; }, 10000));

        QCOMPARE(QWebEngineProfile::defaultProfile()->persistentStoragePath(),
                 m_working.path() + "/LoginWindowPersistentStorage");
        QCOMPARE(QWebEngineProfile::defaultProfile()->cachePath(), m_working.path() + "/LoginWindowCache");
    }

    void closedWindowAtStart()
    {
        CloudSim sim;
        QVERIFY(sim.start());
        Watchdog watchdog;
        Operator op("partner");
        op.closeInstead();
        const QJsonObject config{{"auth_url", sim.authUrl()}};
        AuthSession session(QString(), config);
        LogCapture log;
        QCOMPARE(signInAtStart(session, config), StartSignIn::NoToken);
        QCOMPARE(op.windowsSeen(), 1);
        QVERIFY(log.contains(QtCriticalMsg, "Failed to retrieve token. Corvel will be closed."));
        QVERIFY(MessageBox::shown().isEmpty());
    }

    void logOutAndSignInAgain()
    {
        CloudSim sim({"--sentinel", CORVEL_TOKEN_SENTINEL});
        QVERIFY(sim.start());
        Watchdog watchdog;
        const QJsonObject config{{"auth_url", sim.authUrl()}};
        AuthSession session(QString(), config);
        {
            Operator op("partner");
            QCOMPARE(signInAtStart(session, config), StartSignIn::SignedIn);
        }
        QCOMPARE(session.userData().role, UserRole::Partner);
        const int before = sim.requests().size();

        Operator op("client");
        LogCapture log;
        QVERIFY(logOutAndSignIn(session, nullptr));
        QCOMPARE(session.userData().role, UserRole::Client);
        QCOMPARE(session.userData().username, QString("client"));
        QCOMPARE(log.texts().filter("Logout: redirecting from ").size(), 1);
        QVERIFY(log.contains(QtDebugMsg, "Logout: redirecting from " + sim.origin() + "/login to " + sim.authUrl()));

        const QStringList seen = sim.requests().mid(before).filter(QRegularExpression("^(GET|POST) /(auth|login)"));
        QCOMPARE(seen.first(), QString("GET /auth/logout 302"));
        QVERIFY(seen.contains("GET /authorization/vusk 200"));
        QCOMPARE(seen.last(), QString("POST /authorization/vusk 200"));
    }

    void threeInvalidTokens()
    {
        CloudSim sim({"--auto-sign-in", "broken", "--sentinel", CORVEL_TOKEN_SENTINEL});
        QVERIFY(sim.start());
        Watchdog watchdog;
        const QJsonObject config{{"auth_url", sim.authUrl()}};
        AuthSession session(QString(), config);
        LogCapture log;
        QCOMPARE(reSignInAfterTimeout(session, nullptr), 1);
        QCOMPARE(sim.requests().filter("GET /authorization/vusk").size(), 3);
        QStringList boxes;
        for (const auto& box : MessageBox::shown())
            boxes << box.title + "/" + box.text;
        QCOMPARE(boxes, (QStringList{"Authentication Error/Your session has timed out. Please login again.",
                                     "Authentication Error/Authentication failed. Please try login again."}));
        QCOMPARE(log.count("Invalid token. Authentication Error."), 3);
        QVERIFY(!session.isValid());
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
