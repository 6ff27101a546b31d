#include "http_test_server.h"
#include "testsupport/log_capture.h"
#include "updater/progress_dialog.h"
#include "updater/updater.h"

#include <QProgressBar>
#include <QProgressDialog>
#include <QPushButton>
#include <QtTest>

using CorvelTest::HttpTestServer;
using CorvelTest::LogCapture;
using CVUpdater::Updater;

namespace {
const QString InstallerPath = QStringLiteral("/downloads/setup.exe");

QProgressDialog* findDialog()
{
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (widget->objectName() == QLatin1String("updater_progress_dialog"))
            return qobject_cast<QProgressDialog*>(widget);
    return nullptr;
}
} // namespace

class TestProgressDialog : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void dialogFollowsDownloadUntilCanceled_data();
    void dialogFollowsDownloadUntilCanceled();
    void finishedDownloadClosesDialogQuietly();

private:
    QScopedPointer<QTemporaryDir> m_temp;
    QByteArray m_oldTmpDir;
    QScopedPointer<QWidget> m_window;
};

void TestProgressDialog::init()
{
    m_temp.reset(new QTemporaryDir);
    m_oldTmpDir = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(m_temp->path()));
    m_window.reset(new QWidget);
    m_window->resize(900, 600);
    m_window->show();
}

void TestProgressDialog::cleanup()
{
    m_window.reset();
    qputenv("TMPDIR", m_oldTmpDir);
    m_temp.reset();
}

void TestProgressDialog::dialogFollowsDownloadUntilCanceled_data()
{
    QTest::addColumn<bool>("sizeKnown");
    QTest::newRow("size known") << true;
    QTest::newRow("size unknown") << false;
}

void TestProgressDialog::dialogFollowsDownloadUntilCanceled()
{
    QFETCH(bool, sizeKnown);

    HttpTestServer server;
    HttpTestServer::Response slow;
    slow.body = QByteArray(400000, 'x');
    slow.stallAfter = 100000;
    // Qt reports progress at most every 100 ms from the start of the request.
    slow.delayMs = 250;
    slow.sendLength = sizeKnown;
    server.setResponse(InstallerPath, slow);
    Updater updater(server.url(InstallerPath), QString());
    QVERIFY(updater.checkForUpdates());
    CVUpdater::useProgressDialog(updater);
    QSignalSpy failed(&updater, &Updater::downloadFailed);
    QSignalSpy finished(&updater, &Updater::downloadFinished);

    LogCapture log;
    updater.startDownload(m_window.data());
    QPointer<QProgressDialog> dialog = findDialog();
    QVERIFY(dialog);
    QVERIFY(dialog->isVisible());
    QVERIFY(dialog->isModal());
    QCOMPARE(dialog->parentWidget(), m_window.data());
    QCOMPARE(dialog->windowTitle(), QString("Updater"));
    QCOMPARE(dialog->labelText(), QString("Downloading updates"));
    const auto buttons = dialog->findChildren<QPushButton*>();
    QCOMPARE(buttons.size(), 1);
    QCOMPARE(buttons.first()->text(), QString("Cancel"));

    const QString total = sizeKnown ? QString::number(slow.body.size()) : QStringLiteral("-1");
    QTRY_VERIFY_WITH_TIMEOUT(log.contains(QStringLiteral("Update progress: 100000/%1").arg(total)), 10000);
    if (sizeKnown) {
        QCOMPARE(dialog->maximum(), slow.body.size());
        QCOMPARE(dialog->value(), 100000);
        QCOMPARE(dialog->findChild<QProgressBar*>()->text(), QString("25%"));
    } else {
        // Busy indicator: no range to fill.
        QCOMPARE(dialog->maximum(), 0);
    }
    dialog->grab().save(QStringLiteral("/tmp/corvel_updater_progress_%1.png").arg(sizeKnown ? "known" : "unknown"));

    log.clear();
    QTest::mouseClick(buttons.first(), Qt::LeftButton);
    QVERIFY(!updater.isDownloading());
    QCOMPARE(log.texts(), QStringList{"Downloading canceled."});
    QCOMPARE(updater.lastStatus(), QString("Downloading canceled"));
    QTRY_VERIFY(!dialog);
    QTest::qWait(200);
    QCOMPARE(failed.count() + finished.count(), 0);
    QCOMPARE(log.texts().size(), 1);
}

void TestProgressDialog::finishedDownloadClosesDialogQuietly()
{
    HttpTestServer server;
    HttpTestServer::Response installer;
    installer.body = QByteArray(200000, 'i');
    server.setResponse(InstallerPath, installer);
    Updater updater(server.url(InstallerPath), QString());
    QVERIFY(updater.checkForUpdates());
    CVUpdater::useProgressDialog(updater);
    QSignalSpy finished(&updater, &Updater::downloadFinished);

    LogCapture log;
    updater.startDownload(m_window.data());
    QPointer<QProgressDialog> dialog = findDialog();
    QVERIFY(dialog);
    QVERIFY(finished.wait(10000));
    QTRY_VERIFY(!dialog);
    QVERIFY(!log.contains("Downloading canceled."));
    QVERIFY(QFileInfo(updater.installerPath()).isFile());
}

QTEST_MAIN(TestProgressDialog)
#include "tst_progress_dialog.moc"
