#include "testsupport/wizard_fixture.h"

#include "jobs/job_list_widget.h"
#include "jobs/job_started_window.h"
#include "jobs/job_table_widget.h"
#include "service/service_client.h"
#include "testsupport/cloud_sim.h"
#include "testsupport/find_child.h"
#include "testsupport/log_capture.h"
#include "testsupport/modal.h"
#include "testsupport/service_sim.h"
#include "ui/home_widget.h"
#include "ui/main_window.h"
#include "widgets/message_box.h"
#include "wizard/recovery_wizard_page.h"

#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

using namespace Corvel;
using CorvelTest::CloudSim;
using CorvelTest::LogCapture;
using CorvelWidgets::MessageBox;

// From "Start New Recovery" to the job in the jobs table, against the cloud and service simulators.
class TestRecoveryFlows : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_certs;
    CloudSim m_cloud;

    struct Console {
        std::unique_ptr<CorvelTest::ServiceSim> service = std::make_unique<CorvelTest::ServiceSim>();
        std::unique_ptr<WizardFixture> steps;
        std::unique_ptr<CorvelService::ServiceConnection> connection;
        std::unique_ptr<MainWindow> window;
    };

    std::unique_ptr<Console> open(const QStringList& serviceFaults = {})
    {
        auto console = std::make_unique<Console>();
        if (!console->service->start(m_certs.path(), serviceFaults).isEmpty())
            return nullptr;
        const std::string dir = m_certs.path().toStdString();
        const int port = console->service->port();
        console->connection = std::make_unique<CorvelService::ServiceConnection>(
            [dir, port] { return CorvelService::createServiceClient(dir, "localhost", port); });
        if (!console->connection->connectNow())
            return nullptr;
        console->steps = std::make_unique<WizardFixture>(m_cloud.signIn("partner"));
        console->steps->vmName = "FS-01 production";
        const Settings settings(QJsonObject{{"vusk_url", m_cloud.vuskUrl()}, {"auth_url", m_cloud.authUrl()}});
        console->window =
            std::make_unique<MainWindow>(console->steps->session, console->steps->iconFont, *console->connection,
                                         settings, QStringLiteral("http://127.0.0.1:9/Corvel/autoupdate.xml"));
        console->window->setUpdateOfferBlocked(true);
        console->window->setServiceControl(WizardFixture::hyperV(true));
        console->window->showNormal();
        return console;
    }

    // Presses "Start New Recovery", walks the wizard to its end and closes the job-started window;
    // the failure of the step that did not work, if any. Then `again` gets a wizard opened again.
    QString startRecovery(Console& console, const QStringList& tiles, QString* startedHeading,
                          const std::function<void(RecoveryWizard&)>& again)
    {
        QString walked = "the wizard did not open";
        CorvelTest::whenModal([&](QWidget* modal) {
            auto* wizard = qobject_cast<RecoveryWizard*>(modal);
            if (!wizard)
                return;
            WizardFixture& steps = *console.steps;
            walked =
                steps.walk(*wizard, tiles, FileRecoverSettings) && steps.finish(*wizard) ? QString() : steps.failure;
            CorvelTest::whenModal([&](QWidget* next) {
                if (auto* started = qobject_cast<CvJobs::JobStartedWindow*>(next)) {
                    *startedHeading = started->findChild<QLabel*>("header")->text();
                    started->findChild<QPushButton*>("button_primary")->click();
                } else if (auto* reopened = qobject_cast<RecoveryWizard*>(next); reopened && again) {
                    again(*reopened);
                }
            });
            if (!walked.isEmpty()) {
                MessageBox::setNextAnswer(QMessageBox::Yes);
                wizard->reject();
            }
        });
        QTest::mouseClick(CorvelTest::named<QPushButton>(console.window.get(), "Start New Recovery"), Qt::LeftButton);
        return walked;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_certs.isValid());
        const QString error = CorvelTest::ServiceSim::makeCerts(m_certs.path());
        QVERIFY2(error.isEmpty(), qPrintable(error));
        QVERIFY(m_cloud.start());
        MessageBox::setAutoAnswer(true);
        RecoveryWizardPage::setScreenHeightOverride(1080);
    }

    void init() { MessageBox::clearShown(); }
    void cleanup() { CorvelTest::forgetModalWaits(); }

    // Each kind of recovery, then the service's refusals: a job it never created offers to go back to
    // the wizard's last page with every value kept, from where the same job is asked for again.
    void launches_data()
    {
        QTest::addColumn<QStringList>("tiles");
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("shown");      // the started window's heading or the box
        QTest::addColumn<QStringList>("logged"); // the created job's fields or the failure's log line
        QTest::addColumn<int>("jobs");
        const QStringList files{"Recover Files"};
        QTest::newRow("file recovery") << files << ""
                                       << "File Recovery Started!"
                                       << QStringList{"mount_point=\"D\"", "disks_names=[]", "vm.name=\"\""} << 1;
        QTest::newRow("export") << QStringList{"Virtual Disk Export", "VHDX - Hyper-V (Generation 2)"} << ""
                                << "Export Recovery Started!"
                                << QStringList{"virtual_disk_type=VhdxGenTwo", "mount_point=\"D\"", "vm.name=\"\""}
                                << 1;
        QTest::newRow("virtualization") << QStringList{"Virtualize (Hyper-V)", "Put it in Production"} << ""
                                        << "Recovery Started!"
                                        << QStringList{"vm.name=\"FS-01 production\"",
                                                       "vm.generation=", "vm.ram_bytes=1073741824",
                                                       "vm.virtualization_type=Production", "virtual_disk_type=Vhd"}
                                        << 1;
        QTest::newRow("createJob refused, back to the wizard")
            << files << "createJob=exception+back"
            << "Internal Error: Failed to create job" << QStringList{"Application exception: "} << 0;
        // A created job that did not start stays with the service and shows in the table.
        QTest::newRow("startJob refused")
            << files << "startJob=exception"
            << "Internal Error: Failed to start job" << QStringList{"Application exception: "} << 1;
    }

    void launches()
    {
        QFETCH(QStringList, tiles);
        QFETCH(QString, fault);
        QFETCH(QString, shown);
        QFETCH(QStringList, logged);
        QFETCH(int, jobs);
        const bool back = fault.endsWith("+back");
        auto console = open(fault.isEmpty() ? QStringList() : QStringList{"--fault", fault.remove("+back")});
        QVERIFY(console);
        if (back)
            MessageBox::setNextAnswer(QMessageBox::Retry);
        RecoveryWizardValues resumed;
        LogCapture log;
        QString started;
        const QString walked = startRecovery(*console, tiles, &started, [&](RecoveryWizard& wizard) {
            if (wizard.currentPage()->title() == "Recovery Settings" && console->steps->finish(wizard))
                resumed = wizard.values();
        });
        QVERIFY2(walked.isEmpty(), qPrintable(walked));
        auto* list = console->window->home()->jobTable()->jobList();
        QTRY_VERIFY_WITH_TIMEOUT(!console->connection->isLost() && int(list->jobs().size()) == jobs, 8000);
        QCOMPARE(log.contains(QtInfoMsg, "Recovery job started successfully."), fault.isEmpty());
        if (!fault.isEmpty()) {
            const QStringList boxes = QVector<QString>(back ? 2 : 1, shown).toList();
            QCOMPARE(shownBoxes(), boxes);
            QCOMPARE(MessageBox::shown().first().buttonTexts.value(QMessageBox::Retry),
                     fault.startsWith("create") ? "Back to Wizard" : "");
            QCOMPARE(resumed.clientName + " / " + resumed.deviceName + " / " + resumed.mountPoint,
                     back ? "northwind (Northwind Ltd) / FS-01 / D" : " /  / ");
            const QtMsgType level = fault.startsWith("start") ? QtWarningMsg : QtCriticalMsg;
            const auto entries = log.entries();
            QVERIFY(std::any_of(entries.begin(), entries.end(), [&](const auto& entry) {
                return entry.type == level && entry.text.startsWith(logged.first());
            }));
            return;
        }
        QCOMPARE(started, shown);
        QVERIFY(MessageBox::shown().isEmpty());
        // What the service received (it refuses a restore point it did not list), field by field.
        const QString type = QString::fromStdString(to_string(list->jobs().front().job_type));
        const QStringList calls = console->service->log().split('\n').filter("createJob type=" + type);
        QCOMPARE(calls.size(), 1);
        logged << "client_name=\"northwind (Northwind Ltd)\" device_name=\"FS-01\" device_id=1001"
               << "device_token=*** local_cache_path=\"\"";
        for (const QString& field : logged)
            QVERIFY2(calls.first().contains(field), qPrintable(field + " in " + calls.first()));
        QVERIFY(console->service->log().contains("startJob " + calls.first().section(" -> ", -1).trimmed()));
        // The new job is marked once the job-started window has closed.
        const auto marked = [list] {
            const auto widgets = list->findChildren<QWidget*>();
            return std::any_of(widgets.begin(), widgets.end(),
                               [](QWidget* w) { return w->property("highlighted").toBool(); });
        };
        QTRY_VERIFY(marked());
    }
};

QTEST_MAIN(TestRecoveryFlows)
#include "tst_recovery_flows.moc"
