#include "app/service_starter.h"
#include "core/hyperv_check.h"
#include "testsupport/log_capture.h"

#include <QApplication>
#include <QProgressDialog>
#include <QtTest>

#include <map>
#include <vector>

Q_DECLARE_METATYPE(std::vector<unsigned long>)

using namespace Corvel;
using CorvelPlatform::ServiceControl;
using CorvelPlatform::ServiceHandle;
using CorvelTest::LogCapture;

namespace {

// A service manager whose services follow scripted state sequences.
class FakeServiceControl : public ServiceControl {
public:
    struct Service {
        std::vector<unsigned long> states; // successive query results; the last one repeats
        size_t next = 0;
        bool startFails = false;
    };
    std::map<std::string, Service> services;
    std::vector<std::string> opened;
    int starts = 0;
    int queries = 0;
    int openHandles = 0;
    unsigned long error = 0;

    ServiceHandle openManager() override
    {
        ++openHandles;
        return 1000;
    }
    ServiceHandle openService(ServiceHandle, const std::string& name) override
    {
        opened.push_back(name);
        auto it = services.find(name);
        if (it == services.end()) {
            error = 1060; // ERROR_SERVICE_DOES_NOT_EXIST
            return 0;
        }
        ++openHandles;
        return reinterpret_cast<ServiceHandle>(&it->second);
    }
    bool queryState(ServiceHandle handle, unsigned long& state) override
    {
        ++queries;
        auto* service = reinterpret_cast<Service*>(handle);
        state = service->states[std::min(service->next, service->states.size() - 1)];
        if (service->next < service->states.size())
            ++service->next;
        return true;
    }
    bool startService(ServiceHandle handle) override
    {
        ++starts;
        auto* service = reinterpret_cast<Service*>(handle);
        if (service->startFails) {
            error = 1058;
            return false;
        }
        return true;
    }
    void closeHandle(ServiceHandle) override { --openHandles; }
    unsigned long lastError() const override { return error; }
};

constexpr unsigned long Running = ServiceControl::Running;
constexpr unsigned long Pending = ServiceControl::StartPending;
constexpr unsigned long Stopped = ServiceControl::Stopped;

} // namespace

class TestServiceStarter : public QObject {
    Q_OBJECT

private slots:
    void startServices_data()
    {
        using States = std::vector<unsigned long>;
        QTest::addColumn<States>("iscsi"); // empty: the service does not exist
        QTest::addColumn<bool>("iscsiStartFails");
        QTest::addColumn<States>("recovery");
        QTest::addColumn<bool>("result");
        QTest::addColumn<int>("sleeps");
        QTest::addColumn<int>("starts");
        QTest::addColumn<QStringList>("opened");
        QTest::addColumn<int>("logType");
        QTest::addColumn<QString>("logLine");
        const QStringList all{"msiscsi", "TolvexRecoveryService", "CorvelService"};
        QTest::newRow("all running") << States{Running} << false << States{Running} << true << 0 << 0 << all
                                     << int(QtInfoMsg) << "all running";
        QTest::newRow("stopped one is started")
            << States{Running} << false << States{Stopped, Stopped, Pending, Pending, Running} << true << 2 << 1 << all
            << int(QtInfoMsg) << "";
        QTest::newRow("stuck start-pending")
            << States{Pending} << false << States{Running} << false << 180 << 0 << all << int(QtCriticalMsg)
            << "failed to start the service. Waiting time has expired.";
        QTest::newRow("iscsi missing") << States{} << false << States{Running} << false << 0 << 0
                                       << QStringList{"msiscsi"} << int(QtCriticalMsg)
                                       << "failed to get handle to msiscsi service. Error=1060";
        QTest::newRow("start refused") << States{Stopped} << true << States{Running} << false << 0 << 1 << all
                                       << int(QtCriticalMsg) << "failed to start the service. Error=1058";
    }

    void startServices()
    {
        using States = std::vector<unsigned long>;
        QFETCH(States, iscsi);
        QFETCH(bool, iscsiStartFails);
        QFETCH(States, recovery);
        QFETCH(bool, result);
        QFETCH(int, sleeps);
        QFETCH(int, starts);
        QFETCH(QStringList, opened);
        QFETCH(int, logType);
        QFETCH(QString, logLine);
        auto control = std::make_shared<FakeServiceControl>();
        if (!iscsi.empty())
            control->services["msiscsi"] = {iscsi, 0, iscsiStartFails};
        control->services["TolvexRecoveryService"] = {recovery};
        control->services["CorvelService"] = {{Running}};
        int slept = 0;
        ServiceStarter starter(control, [&](int ms) {
            QCOMPARE(ms, 1000);
            ++slept;
        });
        bool dialogShown = false;
        starter.onDialogShown = [&](QProgressDialog&) { dialogShown = true; };
        LogCapture log;
        QCOMPARE(starter.startServices(), result);
        QCOMPARE(slept, sleeps);
        QCOMPARE(control->starts, starts);
        QStringList openedNames;
        for (const auto& name : control->opened)
            openedNames << QString::fromStdString(name);
        QCOMPARE(openedNames, opened);
        // The dialog appears only when something had to be started.
        QCOMPARE(dialogShown, result ? starts > 0 : opened.size() == 3);
        if (!logLine.isEmpty())
            QVERIFY2(log.contains(QtMsgType(logType), logLine), qPrintable(log.texts().join('\n')));
        QCOMPARE(control->openHandles, 0);
    }

    void cancelEndsAtNextPoll()
    {
        auto control = std::make_shared<FakeServiceControl>();
        control->services["msiscsi"] = {{Pending}};
        control->services["TolvexRecoveryService"] = {{Running}};
        control->services["CorvelService"] = {{Running}};
        QProgressDialog* shown = nullptr;
        int sleeps = 0;
        ServiceStarter starter(control, [&](int) {
            if (++sleeps == 3)
                shown->cancel();
        });
        starter.onDialogShown = [&](QProgressDialog& dialog) {
            shown = &dialog;
            QCOMPARE(dialog.windowTitle(), QString("Please Wait"));
            QCOMPARE(dialog.labelText(), QString("Starting Services..."));
            QCOMPARE(dialog.maximum(), 3);
        };
        LogCapture log;
        QVERIFY(!starter.startServices());
        QCOMPARE(sleeps, 3);
        QVERIFY(log.contains(QtInfoMsg, "failed to start the service. Operation is cancelled by user."));
    }

    void hyperV_data()
    {
        QTest::addColumn<bool>("present");
        QTest::addColumn<unsigned long>("state");
        QTest::addColumn<bool>("running");
        QTest::newRow("running") << true << Running << true;
        QTest::newRow("stopped") << true << Stopped << false;
        QTest::newRow("absent") << false << Running << false;
    }

    void hyperV()
    {
        QFETCH(bool, present);
        QFETCH(unsigned long, state);
        QFETCH(bool, running);
        auto control = std::make_shared<FakeServiceControl>();
        if (present)
            control->services["vmms"] = {{state}};
        LogCapture log;
        QCOMPARE(isHyperVRunning(*control), running);
        QCOMPARE(log.contains(QtCriticalMsg,
                              "failed to get handle to Hyper-V Virtual Machine Management service. Error=1060"),
                 !present);
        QCOMPARE(control->openHandles, 0);
    }
};

QTEST_MAIN(TestServiceStarter)
#include "tst_service_starter.moc"
