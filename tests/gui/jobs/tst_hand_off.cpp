#include "jobs/job_action_buttons_widget.h"
#include "jobs/job_table_widget.h"
#include "testsupport/fake_service.h"
#include "widgets/message_box.h"

#include <QClipboard>
#include <QMenu>
#include <QPushButton>
#include <QtTest>

using namespace CorvelService;
using Outcome = CorvelPlatform::Desktop::Outcome;

namespace {

// Records what the console asks of the desktop.
class FakeDesktop : public CorvelPlatform::Desktop {
public:
    QStringList calls;
    Outcome outcome = Outcome::Opened;
    Result openFolder(const std::string& path) override { return record("open " + path); }
    Result connectToVirtualMachine(const std::string& name) override { return record("vm " + name); }

private:
    Result record(const std::string& call)
    {
        calls << QString::fromStdString(call);
        return {outcome, 0};
    }
};

} // namespace

// A row's menu takes the operator to the job's result: exactly the entries that apply, reached from
// the keyboard, and the right path or machine handed to the desktop.
class TestHandOff : public QObject {
    Q_OBJECT

private slots:
    void menuOffersWhatApplies_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("outcome");
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QString>("chosen");
        QTest::addColumn<QStringList>("calls");
        // What the operator is told (a box) or gets (the clipboard).
        QTest::addColumn<QString>("said");

        const QString details = "Copy details";
        const int opened = int(Outcome::Opened);
        QTest::newRow("mounted volumes") << int(JobType::FileRecovery) << int(JobStatus::Running) << opened
                                         << QStringList{"Open E:\\", "Copy path", details} << "Open E:\\"
                                         << QStringList{"open E:\\"} << "";
        QTest::newRow("mount point gone") << int(JobType::FileRecovery) << int(JobStatus::Running)
                                          << int(Outcome::Missing) << QStringList{"Open E:\\", "Copy path", details}
                                          << "Open E:\\" << QStringList{"open E:\\"} << "E:\\ does not exist any more.";
        QTest::newRow("stopped file recovery") << int(JobType::FileRecovery) << int(JobStatus::Stopped) << opened
                                               << QStringList{details} << "" << QStringList{} << "";
        QTest::newRow("export folder") << int(JobType::VirtualExport) << int(JobStatus::Stopped) << opened
                                       << QStringList{"Open export folder", "Copy path", details}
                                       << "Open export folder" << QStringList{"open D:\\Exports & Co"} << "";
        QTest::newRow("export path copied") << int(JobType::VirtualExport) << int(JobStatus::Running) << opened
                                            << QStringList{"Open export folder", "Copy path", details} << "Copy path"
                                            << QStringList{} << "D:\\Exports & Co";
        QTest::newRow("export not begun") << int(JobType::VirtualExport) << int(JobStatus::Starting) << opened
                                          << QStringList{details} << "" << QStringList{} << "";
        QTest::newRow("running machine") << int(JobType::Virtualization) << int(JobStatus::Running) << opened
                                         << QStringList{"Connect to virtual machine", "Copy path", details}
                                         << "Connect to virtual machine" << QStringList{"vm FS-01 \"recovered\""} << "";
        QTest::newRow("machine path copied") << int(JobType::Virtualization) << int(JobStatus::Running) << opened
                                             << QStringList{"Connect to virtual machine", "Copy path", details}
                                             << "Copy path" << QStringList{} << "D:\\Hyper-V\\FS-01";
        QTest::newRow("stopped machine") << int(JobType::Virtualization) << int(JobStatus::Stopped) << opened
                                         << QStringList{details} << "" << QStringList{} << "";
    }

    void menuOffersWhatApplies()
    {
        QFETCH(int, type);
        QFETCH(int, status);
        QFETCH(int, outcome);
        QFETCH(QStringList, entries);
        QFETCH(QString, chosen);
        QFETCH(QStringList, calls);
        QFETCH(QString, said);

        JobDescription job;
        job.id = "job-7";
        job.job_type = JobType::type(type);
        job.status = JobStatus::type(status);
        job.actions = JobAction::Stop;
        job.configuration.mount_point = type == JobType::FileRecovery ? "E:" : "D:\\Exports & Co";
        job.configuration.vm_settings.name = "FS-01 \"recovered\"";
        job.configuration.vm_settings.storage_location = "D:\\Hyper-V\\FS-01";
        auto service = std::make_shared<CorvelTest::FakeService>();
        service->jobs = {job};
        ServiceConnection connection([service]() -> ServiceConnection::Client { return service; });
        QVERIFY(connection.connectNow());
        CvJobs::JobTableWidget table(connection, CorvelWidgets::IconFont("velmora-iconfont", {}));
        auto desktop = std::make_shared<FakeDesktop>();
        desktop->outcome = Outcome(outcome);
        table.setDesktop(desktop);
        table.show();
        QTRY_VERIFY(table.findChild<CvJobs::JobActionButtonsWidget*>());
        auto* stop = table.findChild<CvJobs::JobActionButtonsWidget*>()->findChild<QPushButton*>();
        stop->setFocus();

        CorvelWidgets::MessageBox::setAutoAnswer(true);
        CorvelWidgets::MessageBox::clearShown();
        QGuiApplication::clipboard()->clear();
        QStringList offered;
        QTimer::singleShot(50, [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            QVERIFY(menu);
            for (QAction* action : menu->actions())
                if (!action->isSeparator())
                    offered << action->text().replace("&&", "&");
            for (QAction* action : menu->actions())
                if (action->text().replace("&&", "&") == chosen)
                    action->trigger();
            menu->close();
        });
        QTest::keyClick(stop, Qt::Key_F10, Qt::ShiftModifier);
        CorvelWidgets::MessageBox::setAutoAnswer(false);

        QCOMPARE(offered, entries);
        QCOMPARE(desktop->calls, calls);
        const auto shown = CorvelWidgets::MessageBox::shown();
        QCOMPARE(shown.isEmpty() ? QGuiApplication::clipboard()->text() : shown.first().text, said);
    }
};

QTEST_MAIN(TestHandOff)
#include "tst_hand_off.moc"
