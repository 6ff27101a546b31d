#include "journal/journal.h"
#include "testsupport/find_child.h"
#include "testsupport/manual_clock.h"
#include "ui/job_history_window.h"
#include "widgets/folder_dialog.h"
#include "widgets/icon_font.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableView>
#include <QTemporaryDir>
#include <QtTest>

// Over a journal the journal itself wrote: the filters narrow the list, a chosen job shows its
// timeline, Return keeps the window open, and the CSV export holds the jobs listed.
class TestJobHistoryWindow : public QObject {
    Q_OBJECT

private slots:
    void filterOpenExport_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("status");         // index in the status box, 0: all
        QTest::addColumn<int>("type");           // index in the type box, 0: all
        QTest::addColumn<QStringList>("listed"); // "id device"
        const QString a = "a-created FS-01", b = "b-running SQL-PROD", c = "c-stopped DC-02";
        QTest::newRow("everything, newest first") << "" << 0 << 0 << QStringList{c, b, a};
        QTest::newRow("text in the device") << "sql" << 0 << 0 << QStringList{b};
        QTest::newRow("status Stopped") << "" << 3 << 0 << QStringList{c};
        QTest::newRow("type Virtual Export") << "" << 0 << 3 << QStringList{b};
    }

    void filterOpenExport()
    {
        QFETCH(QString, text);
        QFETCH(int, status);
        QFETCH(int, type);
        QFETCH(QStringList, listed);
        QTemporaryDir dir;
        const QString path = dir.filePath("journal.sqlite");
        auto clock = std::make_shared<CorvelTest::ManualClock>();
        {
            CorvelJournal::Journal journal(path, clock);
            for (const char* entry : {"a-created FS-01 1 0", "b-running SQL-PROD 2 4", "c-stopped DC-02 0 2"}) {
                const QStringList field = QString(entry).split(' ');
                CorvelJournal::JournalJob job;
                job.id = field[0];
                job.device = field[1];
                job.type = field[2].toInt();
                job.status = field[3].toInt();
                job.client = "northwind";
                journal.observe({job});
                clock->advance(60000);
            }
        }
        Corvel::JobHistoryWindow window(CorvelWidgets::IconFont("velmora-iconfont", {}), path);
        window.show();
        auto* list = window.findChild<QTableView*>("job_history_list");
        QTest::keyClicks(window.findChild<QLineEdit*>("job_history_filter"), text);
        window.findChild<QComboBox*>("job_history_status")->setCurrentIndex(status);
        window.findChild<QComboBox*>("job_history_type")->setCurrentIndex(type);
        QStringList shown, devices;
        for (int row = 0; row < list->model()->rowCount(); ++row)
            shown << list->model()->index(row, 2).data().toString();
        for (const QString& entry : listed)
            devices << entry.section(' ', 1);
        QCOMPARE(shown, devices);

        list->setFocus();
        QTest::keyClick(list, Qt::Key_Return);
        QVERIFY(window.isVisible());
        QVERIFY(window.findChild<QPlainTextEdit*>("job_history_timeline")->toPlainText().contains("first seen"));

        const QString csv = dir.filePath("jobs.csv");
        CorvelWidgets::FolderDialog::setNextAnswer(csv);
        QTest::mouseClick(CorvelTest::named<QPushButton>(&window, "Export CSV"), Qt::LeftButton);
        QFile file(csv);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QList<QByteArray> lines = file.readAll().trimmed().split('\n');
        QCOMPARE(lines.size(), listed.size() + 1);
        for (int i = 0; i < listed.size(); ++i)
            QVERIFY(lines[i + 1].startsWith('"' + listed[i].section(' ', 0, 0).toUtf8() + '"'));
    }
};

QTEST_MAIN(TestJobHistoryWindow)
#include "tst_job_history_window.moc"
