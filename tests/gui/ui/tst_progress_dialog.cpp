#include "testsupport/http_test_server.h"
#include "testsupport/log_capture.h"
#include "ui/progress_dialog.h"
#include "updater/updater.h"

#include <QProgressBar>
#include <QProgressDialog>
#include <QPushButton>
#include <QtTest>

using CorvelTest::HttpTestServer;
using CorvelTest::LogCapture;
using CVUpdater::Updater;

class TestProgressDialog : public QObject {
    Q_OBJECT

    QTemporaryDir m_temp;

private slots:
    void initTestCase() { qputenv("TMPDIR", QFile::encodeName(m_temp.path())); }

    // The bar stays within its range whatever the transfer reports; sizes past the bar's integers
    // are scaled down.
    void progressIsClamped()
    {
        QWidget window;
        CVUpdater::ProgressDialog progress(&window);
        auto* dialog = window.findChild<QProgressDialog*>("updater_progress_dialog");
        const QList<std::array<qint64, 4>> rows{// received, total, shown value, shown maximum
                                                {50, 100, 50, 100},
                                                {150, 100, 100, 100},
                                                {-5, 100, 0, 100},
                                                {1LL << 32, 1LL << 33, 858993459, 1717986918}};
        for (const auto& [received, total, value, maximum] : rows) {
            progress.setProgress(received, total);
            QCOMPARE(qint64(dialog->value()), value);
            QCOMPARE(qint64(dialog->maximum()), maximum);
        }
    }

    void dialogFollowsDownload_data()
    {
        QTest::addColumn<bool>("cancel"); // otherwise the download completes
        QTest::newRow("canceled") << true;
        QTest::newRow("completed") << false;
    }

    void dialogFollowsDownload()
    {
        QFETCH(bool, cancel);
        // Qt reports progress at most every 100 ms from the start of the request, hence the delay.
        const HttpTestServer::Response installer{200, QByteArray(400000, 'x'), 250, true, cancel ? 100000 : -1};
        HttpTestServer server;
        server.setResponse("/setup.exe", installer);
        Updater updater(server.url("/setup.exe"), QString());
        QVERIFY(updater.checkForUpdates());
        CVUpdater::useProgressDialog(updater);
        QSignalSpy failed(&updater, &Updater::downloadFailed);
        QSignalSpy finished(&updater, &Updater::downloadFinished);
        QWidget window;
        window.show();

        LogCapture log;
        updater.startDownload(&window);
        QPointer<QProgressDialog> dialog = window.findChild<QProgressDialog*>("updater_progress_dialog");
        QVERIFY(dialog && dialog->isVisible() && dialog->isModal());
        QCOMPARE(dialog->windowTitle() + "|" + dialog->labelText(), QString("Updater|Downloading updates"));
        const auto buttons = dialog->findChildren<QPushButton*>();
        QCOMPARE(buttons.size(), 1);
        QCOMPARE(buttons.first()->text(), QString("Cancel"));
        if (!cancel) {
            QVERIFY(finished.wait(10000));
            QTRY_VERIFY(!dialog);
            return;
        }

        QTRY_VERIFY_WITH_TIMEOUT(log.contains("Update progress: 100000/400000"), 10000);
        QCOMPARE(dialog->findChild<QProgressBar*>()->text(), QString("25%"));

        QTest::mouseClick(buttons.first(), Qt::LeftButton);
        QVERIFY(!updater.isDownloading());
        QCOMPARE(updater.lastStatus(), QString("Downloading canceled"));
        QTRY_VERIFY(!dialog);
        QTest::qWait(200);
        QCOMPARE(failed.count() + finished.count(), 0);
    }
};

QTEST_MAIN(TestProgressDialog)
#include "tst_progress_dialog.moc"
