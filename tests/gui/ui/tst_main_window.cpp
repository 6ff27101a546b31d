#include "CorvelService.h"
#include "session/auth_session.h"
#include "testsupport/cloud_sim.h"
#include "testsupport/fake_cloud.h"
#include "testsupport/find_child.h"
#include "testsupport/log_capture.h"
#include "testsupport/modal.h"
#include "testsupport/test_tokens.h"
#include "ui/help_center_widget.h"
#include "ui/home_widget.h"
#include "ui/main_window.h"
#include "ui/main_window_geometry.h"
#include "ui/main_window_tabs_widget.h"
#include "ui/tool_box_tile_widget.h"
#include "ui/tool_box_widget.h"
#include "widgets/cv_title_bar.h"
#include "widgets/message_box.h"
#include "widgets/user_menu_button.h"
#include "wizard/recovery_wizard.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QListWidget>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QStackedWidget>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

using Corvel::MainWindow;
using CorvelTest::LogCapture;
using CorvelTest::named;
using CorvelWidgets::MessageBox;

namespace {

MessageBox::Request lastBox()
{
    const QList<MessageBox::Request> shown = MessageBox::shown();
    return shown.isEmpty() ? MessageBox::Request{} : shown.last();
}

} // namespace

class TestMainWindow : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { Q_INIT_RESOURCE(resources); }

    void init()
    {
        MessageBox::setAutoAnswer(true);
        MessageBox::clearShown();
    }

    void cleanup()
    {
        m_window.reset();
        m_session.reset();
        qunsetenv("CORVEL_INSTALL_DIR");
    }

    void width_data()
    {
        QTest::addColumn<double>("dpi");
        QTest::addColumn<int>("screenWidth");
        QTest::addColumn<int>("expected");
        QTest::newRow("96 dpi") << 96.0 << 1920 << 1175;
        QTest::newRow("192 dpi is capped by the screen") << 192.0 << 1920 << 1920;
        QTest::newRow("fractional width is truncated") << 100.0 << 1920 << 1223;
    }

    void width()
    {
        QFETCH(double, dpi);
        QFETCH(int, screenWidth);
        QFETCH(int, expected);
        QCOMPARE(Corvel::mainWindowWidth(dpi, screenWidth), expected);
    }

    // Tab walks the title bar left to right, the tabs, then the page shown, and comes round again;
    // nothing that takes the keyboard is left out, and no control is a picture without a name.
    void tabReachesEveryControl()
    {
        showWindow(partnerToken());
        QListWidget* list = m_window->tabs()->list();
        QCOMPARE(QApplication::focusWidget(), list);

        QList<QWidget*> visited{list};
        for (int step = 0; step < 100; ++step) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            if (QApplication::focusWidget() == list)
                break;
            QVERIFY2(!visited.contains(QApplication::focusWidget()), "Tab went round without reaching the tabs");
            visited << QApplication::focusWidget();
        }
        QCOMPARE(QApplication::focusWidget(), list);

        auto* bar = m_window->titleBar();
        const QList<QWidget*> chrome{named<CorvelWidgets::UserMenuButton>(m_window.get(), "User menu"),
                                     bar->minimizeButton(), bar->maximizeButton(), bar->closeButton()};
        QCOMPARE(visited.mid(visited.size() - chrome.size()), chrome);
        QVERIFY(visited.indexOf(named<QPushButton>(m_window.get(), "Start New Recovery")) > 0);

        QStringList missed; // or a picture without a name
        for (QWidget* widget : m_window->findChildren<QWidget*>()) {
            auto* button = qobject_cast<QAbstractButton*>(widget);
            const bool unnamed = button && button->text().isEmpty() &&
                                 (button->accessibleName().isEmpty() || button->toolTip().isEmpty());
            if (widget->isVisibleTo(m_window.get()) && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus) &&
                !widget->focusProxy() && (!visited.contains(widget) || unnamed))
                missed << widget->metaObject()->className() + QString("#") + widget->objectName();
        }
        QVERIFY2(missed.isEmpty(), qPrintable(missed.join(", ")));

        // Backwards from the tabs lands on the title bar's last button.
        QTest::keyClick(list, Qt::Key_Backtab);
        QCOMPARE(QApplication::focusWidget(), bar->closeButton());

        // Escape, meant for a menu or a field, leaves the window alone.
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        QTest::keyClick(named<QPushButton>(m_window.get(), "Start New Recovery"), Qt::Key_Escape);
        QVERIFY(m_window->isVisible());
    }

    // Ctrl+1..3 switch tabs from a page's control, as the tabs' tips say.
    void tabShortcuts()
    {
        showWindow(partnerToken());
        auto* tabs = m_window->tabs();
        const QStringList pages{"Corvel::HomeWidget", "Corvel::ToolBoxWidget", "Corvel::HelpCenterWidget"};
        for (int row : {1, 2, 0}) {
            QWidget* start = tabs->stack()->currentWidget()->findChild<QPushButton*>();
            start->setFocus();
            QTest::keyClick(start, Qt::Key(Qt::Key_1 + row), Qt::ControlModifier);
            QCOMPARE(tabs->list()->currentRow(), row);
            QCOMPARE(tabs->stack()->currentWidget()->metaObject()->className(), pages[row].toLatin1());
            QCOMPARE(tabs->list()->item(row)->toolTip(),
                     QString("%1 (Ctrl+%2)").arg(tabs->list()->item(row)->text()).arg(row + 1));
        }
    }

    void missingAnalysisTool()
    {
        QTemporaryDir installDir;
        qputenv("CORVEL_INSTALL_DIR", installDir.path().toLocal8Bit());
        showWindow(partnerToken());
        auto* help = m_window->findChild<Corvel::HelpCenterWidget*>();
        m_window->tabs()->list()->setCurrentRow(2);
        QVERIFY(named<QWidget>(help, "Analysis Tool")->isVisible());
        QVERIFY(!named<QWidget>(help, "Installation Guide")->isVisible());
        QVERIFY(!named<QWidget>(help, "Request Help")->isVisible());

        LogCapture log;
        QTest::mouseClick(named<QWidget>(help, "Analysis Tool")->findChild<QPushButton*>(), Qt::LeftButton);
        QCOMPARE(log.texts().filter(QRegularExpression("^(Opening )?Analysis Tool")),
                 QStringList({"Opening Analysis Tool", "Analysis Tool opening failed"}));
        QCOMPARE(MessageBox::shown().size(), 1);
        QCOMPARE(lastBox().text, "The Analysis Tool could not be started.\n" + installDir.path() +
                                     "/tolvex-analysis-tool.exe is not there: the tool is not installed.");
    }

    void startRecoveryByRole_data()
    {
        QTest::addColumn<QString>("token");
        QTest::addColumn<QString>("expectedBox"); // empty: none
        QTest::newRow("Velmora administrator") << makeToken(R"({"data":{"username":"root"}})")
                                               << "Velmora Admin user is not allowed to start new recovery";
        QTest::newRow("unknown role") << QString() << "Access token has expired. Please login and try again";
        QTest::newRow("partner") << partnerToken() << QString();
        QTest::newRow("client") << clientToken() << QString();
    }

    void startRecoveryByRole()
    {
        QFETCH(QString, token);
        QFETCH(QString, expectedBox);
        showWindow(token);
        CorvelTest::FakeCloud cloud;
        m_window->setWizardCloud(&cloud);
        QString wizardTitle;
        QRect wizardGeometry;
        CorvelTest::whenModal([&](QWidget* modal) {
            if (auto* wizard = qobject_cast<Corvel::RecoveryWizard*>(modal)) {
                wizardTitle = wizard->title();
                wizardGeometry = wizard->geometry();
                wizard->reject();
            }
        });
        LogCapture log;
        QTest::mouseClick(named<QPushButton>(m_window.get(), "Start New Recovery"), Qt::LeftButton);
        // Only partners and clients reach the wizard, centred over the window; closing it makes no job.
        QCOMPARE(wizardTitle, expectedBox.isEmpty() ? QString("Recovery Type") : QString());
        if (expectedBox.isEmpty()) {
            // Centred over the window as far as the screen lets it: it never leaves the screen.
            const QRect screen = m_window->screen()->availableGeometry();
            QVERIFY(screen.contains(wizardGeometry));
            const int centre = qBound(screen.left() + wizardGeometry.width() / 2, m_window->geometry().center().x(),
                                      screen.right() - wizardGeometry.width() / 2);
            QVERIFY(qAbs(wizardGeometry.center().x() - centre) <= 1);
            QVERIFY(log.contains(QtInfoMsg, "Recozery wizard rejected."));
        }
        QCOMPARE(MessageBox::shown().size(), expectedBox.isEmpty() ? 0 : 1);
        if (!expectedBox.isEmpty())
            QCOMPARE(QString("%1 %2/%3").arg(lastBox().icon).arg(lastBox().title, lastBox().text),
                     QString("%1 Access Error/%2").arg(QMessageBox::Critical).arg(expectedBox));
    }

    void logOut_data()
    {
        QTest::addColumn<QString>("newToken");
        QTest::addColumn<QString>("expectedName");
        QTest::addColumn<bool>("stillOpen");
        QTest::newRow("signed in as someone else") << clientToken() << "Oskar" << true;
        QTest::newRow("sign-in window closed") << QString() << "Paula" << false;
    }

    void logOut()
    {
        QFETCH(QString, newToken);
        QFETCH(QString, expectedName);
        QFETCH(bool, stillOpen);
        showWindow(partnerToken());
        auto* button = named<CorvelWidgets::UserMenuButton>(m_window.get(), "User menu");
        QCOMPARE(button->text(), QString("Paula"));
        m_window->setTokenSource([&](const QString&, const QString& logoutUrl, QWidget*) -> std::optional<QString> {
            if (!logoutUrl.endsWith("/auth/logout") || newToken.isEmpty())
                return std::nullopt;
            return newToken;
        });

        button->logOutAction()->trigger();
        QCOMPARE(button->text(), expectedName);
        QCOMPARE(m_window->isVisible(), stillOpen);
        if (stillOpen) {
            QVERIFY(MessageBox::shown().isEmpty());
        } else {
            QCOMPARE(lastBox().icon, QMessageBox::Warning);
            QCOMPARE(lastBox().text,
                     QString("Failed to login. Corvel will be closed. Please run Corvel and try again."));
        }
    }

    // A declined offer comes back from the user menu for as long as this run lasts; closing during
    // the download asks first.
    void updateOfferAndCloseWhileDownloading()
    {
        // Accepts the download and never answers, so the updater stays downloading.
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        MessageBox::setNextAnswer(QMessageBox::No);
        createWindow(partnerToken(), QString("http://127.0.0.1:%1/Corvel_setup.exe").arg(server.serverPort()));
        auto* again = m_window->findChild<QAction*>("check_for_updates_action");
        QVERIFY(!again->isVisible());
        m_window->show();
        QTRY_COMPARE(MessageBox::shown().size(), 1);
        QVERIFY(!m_window->updater().isDownloading());
        QVERIFY(again->isVisible());
        QCOMPARE(again->text(), QString("Check for updates"));

        MessageBox::setNextAnswer(QMessageBox::Yes);
        again->trigger();
        QCOMPARE(lastBox().text, QString("The new version of Corvel 0.0.0.0 is available"));
        QVERIFY(m_window->updater().isDownloading());
        QVERIFY(!again->isVisible());
        QTRY_VERIFY(server.hasPendingConnections());

        MessageBox::setNextAnswer(QMessageBox::No);
        QVERIFY(!m_window->close());
        QVERIFY(m_window->isVisible());
        QCOMPARE(lastBox().text, QString("Update downloading in process"));
        QCOMPARE(lastBox().defaultButton, QMessageBox::No);
        MessageBox::setNextAnswer(QMessageBox::Yes);
        QVERIFY(m_window->close());
    }

    void closeWaitsForSlowUpdateCheck()
    {
        CorvelTest::CloudSim cloud({"--fault-delay", "/Corvel/autoupdate.xml=2500"});
        QVERIFY(cloud.start());
        CorvelTest::LogCapture log;
        createWindow(partnerToken(), QString(), cloud.origin() + "/Corvel/autoupdate.xml");
        m_window->show();
        QTRY_VERIFY(
            log.contains(QtInfoMsg, "Looking for download info at: " + cloud.origin() + "/Corvel/autoupdate.xml"));
        QVERIFY(m_window->updateCheck().isRunning());
        QVERIFY(m_window->close());
        // The close returned only once the check had its answer from the slow server.
        QVERIFY(m_window->updateCheck().isFinished());
        QVERIFY(log.contains(QtInfoMsg, "Update is not required."));
        QVERIFY(!log.texts().contains(QString()));
    }

private:
    void createWindow(const QString& token, const QString& updateUrl,
                      const QString& descriptorUrl = QStringLiteral("http://127.0.0.1:9/Corvel/autoupdate.xml"))
    {
        m_window.reset();
        m_session = std::make_unique<TmxAuth::AuthSession>(token);
        m_connection = std::make_unique<CorvelService::ServiceConnection>(
            [] { return std::make_shared<CorvelService::CorvelServiceNull>(); });
        m_connection->connectNow();
        m_window =
            std::make_unique<MainWindow>(*m_session, m_iconFont, *m_connection,
                                         Corvel::Settings(QJsonObject{{"update_url", updateUrl}}), descriptorUrl);
    }

    void showWindow(const QString& token)
    {
        createWindow(token, QString());
        m_window->setUpdateOfferBlocked(true);
        m_window->updateCheck().waitForFinished();
        QCoreApplication::processEvents();
        m_window->showNormal();
        m_window->resize(1100, 700);
        QApplication::setActiveWindow(m_window.get());
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        MessageBox::clearShown();
    }

    CorvelWidgets::IconFont m_iconFont{"velmora-iconfont", {}};
    std::unique_ptr<TmxAuth::AuthSession> m_session;
    std::unique_ptr<CorvelService::ServiceConnection> m_connection;
    std::unique_ptr<MainWindow> m_window;
};

QTEST_MAIN(TestMainWindow)
#include "tst_main_window.moc"
