// The Job History window over a journal written by the journal itself: the filters narrow the
// list, a chosen job shows its timeline, Return keeps the window open, and the CSV export holds
// the jobs listed.

#include "journal/journal.h"
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

using CorvelJournal::JournalJob;

class TestJobHistoryWindow : public QObject {
    Q_OBJECT
private slots:
    void filterOpenExport_data();
    void filterOpenExport();
};

void TestJobHistoryWindow::filterOpenExport_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("status"); // index in the status box, 0: all
    QTest::addColumn<int>("type");   // index in the type box, 0: all
    QTest::addColumn<QStringList>("listed");
    QTest::newRow("everything, newest first") << "" << 0 << 0 << QStringList{"c-stopped", "b-running", "a-created"};
    QTest::newRow("text in the device") << "sql" << 0 << 0 << QStringList{"b-running"};
    QTest::newRow("status Stopped") << "" << 3 << 0 << QStringList{"c-stopped"};
    QTest::newRow("type Virtual Export") << "" << 0 << 3 << QStringList{"b-running"};
    QTest::newRow("nothing") << "no such job" << 0 << 0 << QStringList{};
}

void TestJobHistoryWindow::filterOpenExport()
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
        const struct {
            const char* id;
            int type, status;
            const char* device;
        } jobs[] = {{"a-created", 1, 0, "FS-01"}, {"b-running", 2, 4, "SQL-PROD"}, {"c-stopped", 0, 2, "DC-02"}};
        for (const auto& j : jobs) {
            JournalJob job;
            job.id = j.id;
            job.type = j.type;
            job.status = j.status;
            job.device = j.device;
            job.client = "northwind";
            journal.observe({job});
            clock->advance(60000);
        }
    }
    Corvel::JobHistoryWindow window(CorvelWidgets::IconFont("velmora-iconfont", {}), path);
    window.show();
    auto* filter = window.findChild<QLineEdit*>("job_history_filter");
    auto* list = window.findChild<QTableView*>("job_history_list");
    auto* timeline = window.findChild<QPlainTextEdit*>("job_history_timeline");
    QVERIFY(filter && list && timeline);
    QTest::keyClicks(filter, text);
    window.findChild<QComboBox*>("job_history_status")->setCurrentIndex(status);
    window.findChild<QComboBox*>("job_history_type")->setCurrentIndex(type);

    QStringList shown;
    for (int row = 0; row < list->model()->rowCount(); ++row)
        shown << list->model()->index(row, 2).data().toString();
    QStringList expectedDevices;
    for (const QString& id : listed)
        expectedDevices << (id == "a-created" ? "FS-01" : id == "b-running" ? "SQL-PROD" : "DC-02");
    QCOMPARE(shown, expectedDevices);
    if (listed.isEmpty()) {
        QVERIFY(timeline->toPlainText().isEmpty());
        return;
    }

    list->setFocus();
    QTest::keyClick(list, Qt::Key_Return);
    QVERIFY(window.isVisible());
    QVERIFY(timeline->toPlainText().contains(listed.first() == "a-created" ? "Created" : "first seen"));

    const QString csv = dir.filePath("jobs.csv");
    CorvelWidgets::FolderDialog::setNextAnswer(csv);
    QPushButton* exportButton = nullptr;
    for (auto* button : window.findChildren<QPushButton*>())
        if (button->accessibleName() == "Export CSV")
            exportButton = button;
    QVERIFY(exportButton);
    QTest::mouseClick(exportButton, Qt::LeftButton);
    QFile file(csv);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().trimmed().split('\n');
    QCOMPARE(lines.size(), listed.size() + 1);
    for (int i = 0; i < listed.size(); ++i)
        QVERIFY(lines[i + 1].startsWith('"' + listed[i].toUtf8() + '"'));
}

QTEST_MAIN(TestJobHistoryWindow)
#include "tst_job_history_window.moc"
