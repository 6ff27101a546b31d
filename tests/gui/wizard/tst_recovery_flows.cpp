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

// From "Start New Recovery" to the job in the jobs table, for each kind of recovery, against the
// cloud simulator and the service simulator over mutual TLS.
class TestRecoveryFlows : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_certs;
    CloudSim m_cloud;

    struct Console {
        std::unique_ptr<CorvelTest::ServiceSim> service = std::make_unique<CorvelTest::ServiceSim>();
        std::unique_ptr<WizardFixture> steps;
        std::unique_ptr<CorvelService::ServiceConnection> connection;
        std::unique_ptr<TmxAuth::AuthSession> session;
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
        const QString token = m_cloud.signIn("partner");
        console->session = std::make_unique<TmxAuth::AuthSession>(token);
        console->steps = std::make_unique<WizardFixture>(token);
        const Settings settings(QJsonObject{{"vusk_url", m_cloud.vuskUrl()}, {"auth_url", m_cloud.authUrl()}});
        console->window =
            std::make_unique<MainWindow>(*console->session, console->steps->iconFont, *console->connection, settings,
                                         QStringLiteral("http://127.0.0.1:9/Corvel/autoupdate.xml"));
        console->window->setUpdateOfferBlocked(true);
        console->window->setServiceControl(WizardFixture::hyperV(true));
        console->window->showNormal();
        return console;
    }

    // Walks the wizard of `kind` to its end; the failure of the step that did not work, if any.
    static QString walk(WizardFixture& steps, RecoveryWizard& wizard, const QString& kind)
    {
        const auto step = [&](bool ok) {
            if (!ok && steps.failure.isEmpty())
                steps.failure = "step failed on " + wizard.currentPage()->title();
            return ok;
        };
        if (!step(steps.chooseTile(wizard, kind)))
            return steps.failure;
        if (kind == "Virtual Disk Export" && !step(steps.chooseTile(wizard, "VHDX - Hyper-V (Generation 2)")))
            return steps.failure;
        if (kind == "Virtualize (Hyper-V)" && !step(steps.chooseTile(wizard, "Put it in Production")))
            return steps.failure;
        if (!step(steps.passDataSource(wizard)) || !step(steps.passRecoveryPoint(wizard)))
            return steps.failure;
        if (kind != "Recover Files" && !step(steps.passDisks(wizard)))
            return steps.failure;
        if (!step(steps.passLocalCache(wizard)))
            return steps.failure;
        if (kind == "Virtualize (Hyper-V)" &&
            (!step(steps.passVmSettings(wizard, "FS-01 production")) || !step(steps.passDiskOptions(wizard))))
            return steps.failure;
        if (!step(steps.finish(wizard)))
            return steps.failure;
        return QString();
    }

    // Presses "Start New Recovery", walks the wizard and closes the job-started window.
    QString startRecovery(Console& console, const QString& kind, QString* startedHeading = nullptr)
    {
        QString walked = "the wizard did not open";
        CorvelTest::whenModal([&](QWidget* modal) {
            if (auto* wizard = qobject_cast<RecoveryWizard*>(modal)) {
                walked = walk(*console.steps, *wizard, kind);
                CorvelTest::whenModal([&](QWidget* next) {
                    if (auto* started = qobject_cast<CvJobs::JobStartedWindow*>(next)) {
                        if (startedHeading)
                            *startedHeading = started->findChild<QLabel*>("header")->text();
                        started->findChild<QPushButton*>("button_primary")->click();
                    }
                });
                if (!walked.isEmpty()) {
                    MessageBox::setNextAnswer(QMessageBox::Yes);
                    wizard->reject();
                }
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

    void flows_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("heading");
        QTest::addColumn<QStringList>("fields");
        QTest::newRow("file recovery") << "Recover Files"
                                       << "FileRecovery"
                                       << "File Recovery Started!"
                                       << QStringList{"mount_point=\"D\"", "disks_names=[]", "vm.name=\"\""};
        QTest::newRow("export") << "Virtual Disk Export"
                                << "VirtualExport"
                                << "Export Recovery Started!"
                                << QStringList{"virtual_disk_type=VhdxGenTwo", "mount_point=\"D\"", "vm.name=\"\""};
        QTest::newRow("virtualization") << "Virtualize (Hyper-V)"
                                        << "Virtualization"
                                        << "Recovery Started!"
                                        << QStringList{"vm.name=\"FS-01 production\"",
                                                       "vm.generation=", "vm.ram_bytes=1073741824",
                                                       "vm.virtualization_type=Production", "virtual_disk_type=Vhd"};
    }

    void flows()
    {
        QFETCH(QString, kind);
        QFETCH(QString, type);
        QFETCH(QString, heading);
        QFETCH(QStringList, fields);
        auto console = open();
        QVERIFY(console);
        LogCapture log;
        QString started;
        const QString walked = startRecovery(*console, kind, &started);
        QVERIFY2(walked.isEmpty(), qPrintable(walked));
        QCOMPARE(started, heading);
        QVERIFY(MessageBox::shown().isEmpty());
        QVERIFY(log.contains(QtInfoMsg, "Recovery job started successfully."));

        // What the service received, field by field.
        const QStringList calls = console->service->log().split('\n').filter("createJob type=" + type);
        QCOMPARE(calls.size(), 1);
        const QString call = calls.first();
        QVERIFY2(call.contains("client_name=\"northwind (Northwind Ltd)\" device_name=\"FS-01\" device_id=1001"),
                 qPrintable(call));
        QVERIFY2(call.contains("device_token=*** local_cache_path=\"\""), qPrintable(call));
        for (const QString& field : fields)
            QVERIFY2(call.contains(field), qPrintable(field + " in " + call));
        const QString created = call.section(" -> ", -1).trimmed();
        QVERIFY(console->service->log().contains("startJob " + created));

        // The job shows up in the table.
        auto* list = console->window->home()->jobTable()->jobList();
        QTRY_VERIFY_WITH_TIMEOUT(list->jobs().size() == 1, 5000);
        QCOMPARE(QString::fromStdString(to_string(list->jobs().front().job_type)), type);
        // The new job is marked once the job-started window has closed.
        const auto marked = [list] {
            for (QWidget* widget : list->findChildren<QWidget*>())
                if (widget->property("highlighted").toBool())
                    return true;
            return false;
        };
        QTRY_VERIFY(marked());
    }

    void launchFailures_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("logLine");
        QTest::addColumn<int>("jobsLeft");
        QTest::newRow("createJob refused") << "createJob=exception"
                                           << "Internal Error: Failed to create job"
                                           << "Application exception: " << 0;
        QTest::newRow("createJob connection dropped") << "createJob=drop"
                                                      << "Unknown error: Failed to create job"
                                                      << "Unknown exception: " << 0;
        QTest::newRow("startJob refused") << "startJob=exception"
                                          << "Internal Error: Failed to start job"
                                          << "Application exception: " << 1;
    }

    void launchFailures()
    {
        QFETCH(QString, fault);
        QFETCH(QString, box);
        QFETCH(QString, logLine);
        QFETCH(int, jobsLeft);
        auto console = open({"--fault", fault});
        QVERIFY(console);
        LogCapture log;
        const QString walked = startRecovery(*console, "Recover Files");
        QVERIFY2(walked.isEmpty(), qPrintable(walked));
        QStringList shown;
        for (const auto& request : MessageBox::shown())
            shown << request.title + ": " + request.text;
        QCOMPARE(shown, QStringList{box});
        const QtMsgType level = fault.startsWith("start") ? QtWarningMsg : QtCriticalMsg;
        const auto entries = log.entries();
        QVERIFY(std::any_of(entries.begin(), entries.end(),
                            [&](const auto& entry) { return entry.type == level && entry.text.startsWith(logLine); }));
        QVERIFY(!log.contains(QtInfoMsg, "Recovery job started successfully."));
        // A created job that did not start stays with the service and shows in the table.
        auto* table = console->window->home()->jobTable();
        QTRY_VERIFY_WITH_TIMEOUT(!console->connection->isLost() && int(table->jobList()->jobs().size()) == jobsLeft,
                                 8000);
    }

    // A job the service refused to create sends the operator back to the wizard's last page with
    // every value kept: the same job is asked for again.
    void backToWizardAfterRefusal()
    {
        auto console = open({"--fault", "createJob=exception"});
        QVERIFY(console);
        MessageBox::setNextAnswer(QMessageBox::Retry);
        QString walked = "the wizard did not open";
        QString resumedOn = "the wizard did not open again";
        RecoveryWizardValues first, resumed;
        CorvelTest::whenModal([&](QWidget* modal) {
            auto* wizard = qobject_cast<RecoveryWizard*>(modal);
            walked = wizard ? walk(*console->steps, *wizard, "Recover Files") : walked;
            first = wizard ? wizard->values() : first;
            CorvelTest::whenModal([&](QWidget* again) {
                if (auto* wizard = qobject_cast<RecoveryWizard*>(again)) {
                    resumedOn = wizard->currentPage()->title();
                    console->steps->finish(*wizard);
                    resumed = wizard->values();
                }
            });
        });
        const auto refusals = [&] {
            return console->service->log().count("createJob: injected application exception");
        };
        const int before = refusals();
        QTest::mouseClick(CorvelTest::named<QPushButton>(console->window.get(), "Start New Recovery"), Qt::LeftButton);
        QVERIFY2(walked.isEmpty(), qPrintable(walked));
        QCOMPARE(resumedOn, "Recovery Settings");
        QCOMPARE(shownBoxes(),
                 (QStringList{"Internal Error: Failed to create job", "Internal Error: Failed to create job"}));
        QCOMPARE(MessageBox::shown().first().buttonTexts.value(QMessageBox::Retry), "Back to Wizard");
        QCOMPARE(refusals() - before, 2);
        QVERIFY(!first.deviceToken.isEmpty());
        QCOMPARE(resumed.recoveryType, first.recoveryType);
        for (const auto& [field, value] : {std::pair(resumed.clientName, first.clientName),
                                           {resumed.deviceName, first.deviceName},
                                           {resumed.deviceToken, first.deviceToken},
                                           {resumed.snapshot, first.snapshot},
                                           {resumed.mountPoint, first.mountPoint}})
            QCOMPARE(field, value);
    }
};

QTEST_MAIN(TestRecoveryFlows)
#include "tst_recovery_flows.moc"
