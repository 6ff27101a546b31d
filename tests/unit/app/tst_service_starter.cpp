#include "app/service_starter.h"
#include "testsupport/log_capture.h"

#include <QApplication>
#include <QProgressDialog>
#include <QtTest>

#include <map>

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
    void allRunning()
    {
        auto control = std::make_shared<FakeServiceControl>();
        for (const char* name : ServiceStarter::ServiceNames)
            control->services[name] = {{Running}};
        ServiceStarter starter(control, [](int) { QFAIL("no waiting expected"); });
        bool dialogShown = false;
        starter.onDialogShown = [&](QProgressDialog&) { dialogShown = true; };
        LogCapture log;
        QVERIFY(starter.startServices());
        QVERIFY(!dialogShown);
        QVERIFY(log.contains(QtInfoMsg, "all running"));
        QCOMPARE(control->starts, 0);
        QCOMPARE(control->openHandles, 0);
    }

    void startsStoppedServices()
    {
        auto control = std::make_shared<FakeServiceControl>();
        control->services["msiscsi"] = {{Running}};
        control->services["TolvexRecoveryService"] = {{Stopped, Stopped, Pending, Pending, Running}};
        control->services["CorvelService"] = {{Running}};
        int slept = 0;
        ServiceStarter starter(control, [&](int ms) { slept += ms; });
        QVERIFY(starter.startServices());
        QCOMPARE(control->starts, 1);
        QCOMPARE(slept, 2000);
        QCOMPARE(control->openHandles, 0);
    }

    void stuckStartPendingExpiresAfter180Polls()
    {
        auto control = std::make_shared<FakeServiceControl>();
        control->services["msiscsi"] = {{Pending}};
        control->services["TolvexRecoveryService"] = {{Running}};
        control->services["CorvelService"] = {{Running}};
        int sleeps = 0;
        ServiceStarter starter(control, [&](int ms) {
            QCOMPARE(ms, 1000);
            ++sleeps;
        });
        LogCapture log;
        QVERIFY(!starter.startServices());
        QCOMPARE(sleeps, 180);
        QVERIFY(log.contains(QtCriticalMsg, "failed to start the service. Waiting time has expired."));
        QCOMPARE(control->openHandles, 0);
    }

    void missingServiceFailsAtOnce()
    {
        auto control = std::make_shared<FakeServiceControl>();
        control->services["TolvexRecoveryService"] = {{Running}};
        control->services["CorvelService"] = {{Running}};
        ServiceStarter starter(control, [](int) {});
        LogCapture log;
        QVERIFY(!starter.startServices());
        QCOMPARE(control->opened, std::vector<std::string>{"msiscsi"});
        QVERIFY(log.contains(QtCriticalMsg, "failed to get handle to msiscsi service. Error=1060"));
        QCOMPARE(control->openHandles, 0);
    }

    void startFailureIsReported()
    {
        auto control = std::make_shared<FakeServiceControl>();
        control->services["msiscsi"] = {{Stopped}, 0, true};
        control->services["TolvexRecoveryService"] = {{Running}};
        control->services["CorvelService"] = {{Running}};
        ServiceStarter starter(control, [](int) {});
        LogCapture log;
        QVERIFY(!starter.startServices());
        QVERIFY(log.contains(QtCriticalMsg, "failed to start the service. Error=1058"));
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
        ServiceStarter starter(control, [](int) {});
        LogCapture log;
        QCOMPARE(starter.isHyperVRunning(), running);
        QCOMPARE(log.contains(QtCriticalMsg,
                              "failed to get handle to Hyper-V Virtual Machine Management service. Error=1060"),
                 !present);
        QCOMPARE(control->openHandles, 0);
    }
};

QTEST_MAIN(TestServiceStarter)
#include "tst_service_starter.moc"
