#include "app/service_starter.h"
#include "testsupport/log_capture.h"

#include <QApplication>
#include <QProgressDialog>
#include <QtTest>

#include <map>
#include <vector>

using namespace Corvel;
using CorvelPlatform::ServiceControl;
using CorvelPlatform::ServiceHandle;
using CorvelTest::LogCapture;
using States = std::vector<unsigned long>; // successive query results; the last one repeats

Q_DECLARE_METATYPE(States)

namespace {

// A service manager whose services follow scripted state sequences.
class FakeServiceControl : public ServiceControl {
public:
    struct Service {
        States states;
        size_t next = 0;
        bool startFails = false;
    };
    std::map<std::string, Service> services;
    QStringList opened;
    int starts = 0;
    int openHandles = 0;
    unsigned long error = 0;

    ServiceHandle openManager() override
    {
        ++openHandles;
        return 1000;
    }
    ServiceHandle openService(ServiceHandle, const std::string& name) override
    {
        opened << QString::fromStdString(name);
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
        auto* service = reinterpret_cast<Service*>(handle);
        state = service->states[std::min(service->next, service->states.size() - 1)];
        service->next += service->next < service->states.size();
        return true;
    }
    bool startService(ServiceHandle handle) override
    {
        ++starts;
        error = 1058;
        return !reinterpret_cast<Service*>(handle)->startFails;
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
        QTest::addColumn<States>("iscsi"); // empty: the service does not exist
        QTest::addColumn<bool>("iscsiStartFails");
        QTest::addColumn<States>("recovery");
        QTest::addColumn<int>("cancelAt"); // Cancel pressed during this wait (0: never)
        QTest::addColumn<bool>("result");
        QTest::addColumn<int>("sleeps");
        QTest::addColumn<int>("starts");
        QTest::addColumn<QString>("logLine"); // of type info when the result is true, else critical
        QTest::newRow("all running") << States{Running} << false << States{Running} << 0 << true << 0 << 0
                                     << "all running";
        QTest::newRow("stopped one is started")
            << States{Running} << false << States{Stopped, Stopped, Pending, Pending, Running} << 0 << true << 2 << 1
            << "";
        QTest::newRow("stuck start-pending") << States{Pending} << false << States{Running} << 0 << false << 180 << 0
                                             << "failed to start the service. Waiting time has expired.";
        QTest::newRow("cancelled") << States{Pending} << false << States{Running} << 3 << false << 3 << 0
                                   << "failed to start the service. Operation is cancelled by user.";
        QTest::newRow("iscsi missing") << States{} << false << States{Running} << 0 << false << 0 << 0
                                       << "failed to get handle to msiscsi service. Error=1060";
        QTest::newRow("start refused") << States{Stopped} << true << States{Running} << 0 << false << 0 << 1
                                       << "failed to start the service. Error=1058";
    }

    void startServices()
    {
        QFETCH(States, iscsi);
        QFETCH(bool, iscsiStartFails);
        QFETCH(States, recovery);
        QFETCH(int, cancelAt);
        QFETCH(bool, result);
        QFETCH(int, sleeps);
        QFETCH(int, starts);
        QFETCH(QString, logLine);
        auto control = std::make_shared<FakeServiceControl>();
        if (!iscsi.empty())
            control->services["msiscsi"] = {iscsi, 0, iscsiStartFails};
        control->services["TolvexRecoveryService"] = {recovery};
        control->services["CorvelService"] = {{Running}};
        QProgressDialog* shown = nullptr;
        int slept = 0;
        ServiceStarter starter(control, [&](int ms) {
            QCOMPARE(ms, 1000);
            if (++slept == cancelAt)
                shown->cancel();
        });
        starter.onDialogShown = [&](QProgressDialog& dialog) {
            shown = &dialog;
            QCOMPARE(dialog.windowTitle(), QString("Please Wait"));
            QCOMPARE(dialog.labelText(), QString("Starting Services..."));
            QCOMPARE(dialog.maximum(), 3);
        };
        LogCapture log;
        QCOMPARE(starter.startServices(), result);
        QCOMPARE(slept, sleeps);
        QCOMPARE(control->starts, starts);
        // A missing service ends the check before the next is opened; the dialog appears only when
        // something had to be started.
        const QStringList all{"msiscsi", "TolvexRecoveryService", "CorvelService"};
        QCOMPARE(control->opened, iscsi.empty() ? QStringList{"msiscsi"} : all);
        QCOMPARE(shown != nullptr, result ? starts > 0 : !iscsi.empty());
        if (!logLine.isEmpty())
            QVERIFY2(log.contains(result || cancelAt ? QtInfoMsg : QtCriticalMsg, logLine),
                     qPrintable(log.texts().join('\n')));
        QCOMPARE(control->openHandles, 0);
    }
};

QTEST_MAIN(TestServiceStarter)
#include "tst_service_starter.moc"
