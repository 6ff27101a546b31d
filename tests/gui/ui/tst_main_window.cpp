#include "fake_corvel_service.h"
#include "test_tokens.h"

#include "auth/auth_session.h"
#include "build_config.h"
#include "testsupport/log_capture.h"
#include "ui/help_center_widget.h"
#include "ui/home_widget.h"
#include "ui/main_window.h"
#include "ui/main_window_tabs_widget.h"
#include "ui/tool_box_tile_widget.h"
#include "ui/tool_box_widget.h"
#include "widgets/message_box.h"
#include "widgets/user_menu_button.h"

#include <QAction>
#include <QDesktopServices>
#include <QFile>
#include <QListWidget>
#include <QPushButton>
#include <QStackedWidget>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

using CorvelTest::LogCapture;
using CorvelWidgets::MessageBox;
using Corvel::MainWindow;

namespace {

QJsonObject partnerData(const QString& displayName = "Pat Partner")
{
    return {{"reseller_id", 7}, {"username", "pat"}, {"user_display_name", displayName}};
}

// The last box the window asked, or an empty request when it asked none.
MessageBox::Request lastBox()
{
    const QList<MessageBox::Request> shown = MessageBox::shown();
    return shown.isEmpty() ? MessageBox::Request{} : shown.last();
}

} // namespace

class UrlCatcher : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void open(const QUrl& url) { urls.append(url); }
};

class TestMainWindow : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // Nothing may block on a real box; the cases queue the answers they need.
        MessageBox::setAutoAnswer(true);
        m_service = std::make_shared<FakeCorvelService>();
    }

    void init()
    {
        MessageBox::setAutoAnswer(true);
        MessageBox::clearShown();
        m_config = QJsonObject{{"update_url", ""}};
    }

    void cleanup()
    {
        m_window.reset();
        m_session.reset();
        qunsetenv("CORVEL_INSTALL_DIR");
    }

    void tabSelection_data()
    {
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("pageClass");
        QTest::newRow("Home") << "Home" << "Corvel::HomeWidget";
        QTest::newRow("Toolbox") << "Toolbox" << "Corvel::ToolBoxWidget";
        QTest::newRow("Help Center") << "Help Center" << "Corvel::HelpCenterWidget";
    }

    void tabSelection()
    {
        QFETCH(QString, label);
        QFETCH(QString, pageClass);
        makeWindow(partnerData());
        QCOMPARE(m_window->objectName(), QString("main_window"));
        auto* list = m_window->findChild<QListWidget*>("main_window_tabs_widget_list");
        QVERIFY(list);
        QCOMPARE(list->currentRow(), 0);

        // Start from another tab so that every row is a real change.
        list->setCurrentRow(label == "Home" ? 2 : 0);
        const QList<QListWidgetItem*> items = list->findItems(label, Qt::MatchExactly);
        QCOMPARE(items.size(), 1);
        QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier,
                          list->visualItemRect(items.first()).center());

        auto* stack = m_window->tabs()->stack();
        QCOMPARE(stack->currentWidget()->metaObject()->className(), pageClass.toLatin1().constData());
        for (int row = 0; row < list->count(); ++row)
            QCOMPARE(list->item(row)->font().weight(), list->item(row) == items.first() ? 99 : 50);
    }

    void analysisTool_data()
    {
        QTest::addColumn<bool>("toolPresent");
        QTest::addColumn<QString>("outcome");
        QTest::newRow("missing tool") << false << "Analysis Tool opening failed";
        QTest::newRow("tool present") << true << "Analysis Tool opened successfully";
    }

    void analysisTool()
    {
        QFETCH(bool, toolPresent);
        QFETCH(QString, outcome);
        QTemporaryDir installDir;
        QVERIFY(installDir.isValid());
        if (toolPresent) {
            QFile tool(installDir.filePath("tolvex-analysis-tool.exe"));
            QVERIFY(tool.open(QIODevice::WriteOnly));
            tool.write("#!/bin/sh\nexit 0\n");
            tool.close();
            tool.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        }
        qputenv("CORVEL_INSTALL_DIR", installDir.path().toLocal8Bit());

        makeWindow(partnerData());
        auto* help = m_window->findChild<Corvel::HelpCenterWidget*>();
        m_window->tabs()->list()->setCurrentRow(2);
        QVERIFY(help->analysisToolTile()->isVisible());
        QVERIFY(!help->installationGuideTile()->isVisible());
        QVERIFY(!help->requestHelpTile()->isVisible());

        LogCapture log;
        QTest::mouseClick(help->analysisToolTile()->button(), Qt::LeftButton);
        QCOMPARE(log.texts().filter("Analysis Tool"), QStringList({"Opening Analysis Tool", outcome}));
        QVERIFY(MessageBox::shown().isEmpty());
    }

    void directRestoreOpensDownloadPage()
    {
        UrlCatcher catcher;
        QDesktopServices::setUrlHandler("https", &catcher, "open");
        QDesktopServices::setUrlHandler("http", &catcher, "open");
        makeWindow(partnerData());
        m_window->tabs()->list()->setCurrentRow(1);
        auto* toolBox = m_window->findChild<Corvel::ToolBoxWidget*>();
        auto* button = toolBox->directRestoreTile()->button();
        QCOMPARE(button->text(), QString("Download"));

        LogCapture log;
        QTest::mouseClick(button, Qt::LeftButton);
        QDesktopServices::unsetUrlHandler("https");
        QDesktopServices::unsetUrlHandler("http");
        QVERIFY(log.contains(QtInfoMsg, "Opening Direct Restore URL"));
        QCOMPARE(catcher.urls, QList<QUrl>({QUrl(CORVEL_DIRECT_RESTORE_URL)}));
    }

    void startRecoveryByRole_data()
    {
        QTest::addColumn<QString>("token");
        QTest::addColumn<QString>("expectedLog");
        QTest::addColumn<QString>("expectedBox");
        QTest::newRow("Velmora administrator")
            << tokenWithData({{"username", "root"}, {"user_display_name", "Root"}})
            << "Velmora Admin user tried to start new recovery."
            << "Velmora Admin user is not allowed to start new recovery";
        QTest::newRow("unknown role") << QString() << "Unknown user tried to start new recovery."
                                      << "Access token has expired. Please login and try again";
        QTest::newRow("partner") << tokenWithData(partnerData()) << "The recovery wizard is not part of this build."
                                 << QString();
        QTest::newRow("client") << tokenWithData({{"client_id", 42}, {"username", "cli"}})
                                << "The recovery wizard is not part of this build." << QString();
    }

    void startRecoveryByRole()
    {
        QFETCH(QString, token);
        QFETCH(QString, expectedLog);
        QFETCH(QString, expectedBox);
        m_session = std::make_unique<TmxAuth::AuthSession>(token, m_config);
        createWindow();

        LogCapture log;
        QTest::mouseClick(m_window->home()->newRecoveryButton(), Qt::LeftButton);
        QVERIFY(log.contains(QtInfoMsg, "Starting Recozery wizard."));
        QVERIFY(log.contains(expectedBox.isEmpty() ? QtInfoMsg : QtWarningMsg, expectedLog));
        if (expectedBox.isEmpty()) {
            QVERIFY(MessageBox::shown().isEmpty());
            return;
        }
        QCOMPARE(MessageBox::shown().size(), 1);
        QCOMPARE(lastBox().icon, QMessageBox::Critical);
        QCOMPARE(lastBox().title, QString("Access Error"));
        QCOMPARE(lastBox().text, expectedBox);
        QCOMPARE(lastBox().buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    }

    void logOut_data()
    {
        QTest::addColumn<QString>("newToken");
        QTest::addColumn<QString>("expectedName");
        QTest::addColumn<bool>("stillOpen");
        QTest::newRow("signed in as someone else") << tokenWithData(partnerData("Quinn Other")) << "Quinn Other" << true;
        QTest::newRow("sign-in window closed") << QString() << "Pat Partner" << false;
    }

    void logOut()
    {
        QFETCH(QString, newToken);
        QFETCH(QString, expectedName);
        QFETCH(bool, stillOpen);
        makeWindow(partnerData());
        m_window->show();
        auto* button = m_window->userMenuButton();
        QCOMPARE(button->text(), QString("Pat Partner"));
        m_window->setTokenSource([&](const QString&, const QString& logoutUrl, QWidget*) -> std::optional<QString> {
            if (!logoutUrl.endsWith("/auth/logout"))
                return std::nullopt;
            return newToken.isEmpty() ? std::nullopt : std::optional<QString>(newToken);
        });

        button->logOutAction()->trigger();
        QCOMPARE(button->text(), expectedName);
        QCOMPARE(button->logOutAction()->text(), QString("Log out"));
        QCOMPARE(m_window->isVisible(), stillOpen);
        if (stillOpen) {
            QVERIFY(MessageBox::shown().isEmpty());
        } else {
            QCOMPARE(lastBox().icon, QMessageBox::Warning);
            QCOMPARE(lastBox().text, QString("Failed to login. Corvel will be closed. Please run Corvel and try again."));
        }
    }

    void closeWhileDownloadingAsks()
    {
        // A server that accepts the download and never answers keeps the updater downloading.
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost, 0));
        const QString url = QString("http://127.0.0.1:%1/Corvel_setup.exe").arg(server.serverPort());
        m_config = QJsonObject{{"update_url", url}};
        m_session = std::make_unique<TmxAuth::AuthSession>(tokenWithData(partnerData()), m_config);
        MessageBox::setNextAnswer(QMessageBox::Yes);
        m_window = std::make_unique<MainWindow>(*m_session, m_iconFont, m_service, m_config);
        m_window->show();
        QTRY_VERIFY(m_window->updater().isDownloading());
        QCOMPARE(lastBox().text, QString("The new version of Corvel 0.0.0.0 is available"));
        QVERIFY(lastBox().flags & Qt::Tool);
        QTRY_VERIFY(server.hasPendingConnections());

        MessageBox::setNextAnswer(QMessageBox::No);
        QVERIFY(!m_window->close());
        QVERIFY(m_window->isVisible());
        QCOMPARE(lastBox().text, QString("Update downloading in process"));
        QCOMPARE(lastBox().informativeText, QString("Do you want to cancel it?"));
        QCOMPARE(lastBox().defaultButton, QMessageBox::No);
        QVERIFY(lastBox().flags & Qt::Tool);
        QVERIFY(lastBox().flags & Qt::CustomizeWindowHint);

        MessageBox::setNextAnswer(QMessageBox::Yes);
        QVERIFY(m_window->close());
    }

    void blockedOfferIsNotShown()
    {
        m_config = QJsonObject{{"update_url", "http://127.0.0.1:1/Corvel_setup.exe"}};
        m_session = std::make_unique<TmxAuth::AuthSession>(tokenWithData(partnerData()), m_config);
        m_window = std::make_unique<MainWindow>(*m_session, m_iconFont, m_service, m_config);
        m_window->setUpdateOfferBlocked(true);
        m_window->updateCheck().waitForFinished();
        QCoreApplication::processEvents();
        QVERIFY(MessageBox::shown().isEmpty());
        QVERIFY(!m_window->updater().isDownloading());
    }

    void downloadFailureIsReported()
    {
        // A server that closes at once: the download fails and the window says so.
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost, 0));
        connect(&server, &QTcpServer::newConnection, &server, [&server] {
            while (QTcpSocket* socket = server.nextPendingConnection())
                socket->abort();
        });
        m_config = QJsonObject{{"update_url", QString("http://127.0.0.1:%1/x.exe").arg(server.serverPort())}};
        m_session = std::make_unique<TmxAuth::AuthSession>(tokenWithData(partnerData()), m_config);
        MessageBox::setNextAnswer(QMessageBox::Yes);
        LogCapture log;
        m_window = std::make_unique<MainWindow>(*m_session, m_iconFont, m_service, m_config);
        m_window->show();
        QTRY_COMPARE(lastBox().text, QString("Download failed"));
        QCOMPARE(lastBox().icon, QMessageBox::Warning);
        QVERIFY(lastBox().informativeText.startsWith("Error: "));
        QVERIFY(lastBox().informativeText.endsWith("\n\nUpdate will be downloaded on the next application launch"));
        QVERIFY(log.contains(QtInfoMsg, "Download failed"));
        QVERIFY(!m_window->updater().isDownloading());
        QVERIFY(m_window->close());
    }

private:
    void makeWindow(const QJsonObject& data)
    {
        m_session = std::make_unique<TmxAuth::AuthSession>(tokenWithData(data), m_config);
        createWindow();
    }

    void createWindow()
    {
        m_window = std::make_unique<MainWindow>(*m_session, m_iconFont, m_service, m_config);
        m_window->setUpdateOfferBlocked(true);
        m_window->updateCheck().waitForFinished();
        QCoreApplication::processEvents();
        m_window->showNormal();
        m_window->resize(1100, 700);
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        MessageBox::clearShown();
    }

    CorvelWidgets::IconFont m_iconFont{"velmora-iconfont", {}};
    std::shared_ptr<FakeCorvelService> m_service;
    QJsonObject m_config;
    std::unique_ptr<TmxAuth::AuthSession> m_session;
    std::unique_ptr<MainWindow> m_window;
};

QTEST_MAIN(TestMainWindow)
#include "tst_main_window.moc"
