#include "testsupport/wizard_fixture.h"

#include "localcache/local_cache_check.h"
#include "testsupport/log_capture.h"
#include "testsupport/test_tokens.h"
#include "widgets/message_box.h"
#include "wizard/models/data_source_model.h"
#include "wizard/models/local_cache_model.h"
#include "wizard/models/restore_points_model.h"

#include <QSignalSpy>
#include <QtTest>

using namespace Corvel;
using CorvelTest::FakeService;
using CorvelTest::LogCapture;
using CorvelWidgets::MessageBox;

// The wizard's conversations with the cloud and the service, without their pages.
class TestWizardModels : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        MessageBox::setAutoAnswer(true);
        MessageBox::clearShown();
    }

    // Client, data source, device: each level asked once the one above is chosen; a late reply
    // for a level chosen again is dropped.
    void dataSourceCascade()
    {
        WizardFixture fixture(partnerToken());
        RecoveryWizardValues values;
        DataSourceModel model(values, fixture.pageContext());
        model.start();
        QTRY_COMPARE(model.clients()->rowCount(), 4);
        model.setSearch("AB"); // usernames only, any case: not quarry, whose name is "ABbey"
        QCOMPARE(model.clients()->rowCount(), 1);
        model.setSearch(QString());
        QSignalSpy complete(&model, &DataSourceModel::completeChanged);
        model.chooseClient(model.clients()->index(0, 0));
        QTRY_COMPARE(model.dataSources().size(), 2);
        fixture.cloud.setDelay("devices", 200);
        model.chooseDataSource(0);
        model.chooseDataSource(1); // the devices of data source 11 are still on their way
        QTRY_COMPARE(model.devices().size(), 1);
        QTest::qWait(300);
        QCOMPARE(model.devices().first().name, QString("UNREGISTERED"));
        model.chooseDevice(0); // id 0: not a device to restore
        QVERIFY(!complete.last().first().toBool());
        model.chooseDataSource(0);
        QTRY_COMPARE(model.devices().size(), 2);
        model.chooseDevice(1);
        QVERIFY(complete.last().first().toBool());
        QCOMPARE(values.deviceName, QString("SQL-02"));
        QCOMPARE(values.clientName, QString("northwind (Northwind Ltd)"));
        // Another client clears every level below it.
        model.chooseClient(model.clients()->index(1, 0));
        QVERIFY(values.dataSourceId == 0 && values.deviceId == 0 && model.devices().isEmpty());
        QCOMPARE(fixture.cloud.calls,
                 (QStringList{"clients", "datasources 101", "devices 11 server 101", "devices 12 workstation 101",
                              "devices 11 server 101", "datasources 102"}));
    }

    // A client is its own client and an administrator of the cloud is offered nothing: neither is
    // given clients to choose from.
    void clientOrAdministrator_data()
    {
        QTest::addColumn<QString>("token");
        QTest::addColumn<quint64>("clientId");
        QTest::addColumn<QStringList>("calls");
        QTest::newRow("client") << clientToken() << quint64(101) << QStringList{"datasources 101"};
        QTest::newRow("administrator") << makeToken(R"({"data":{"username":"admin"}})") << quint64(0) << QStringList();
    }

    void clientOrAdministrator()
    {
        QFETCH(QString, token);
        QFETCH(quint64, clientId);
        QFETCH(QStringList, calls);
        WizardFixture fixture(token);
        RecoveryWizardValues values;
        DataSourceModel model(values, fixture.pageContext());
        model.start();
        QTRY_COMPARE(fixture.cloud.calls, calls);
        QCOMPARE(values.clientId, clientId);
        QTRY_COMPARE(model.dataSources().size(), calls.size() * 2);
    }

    // Restore points: failures retried, an empty answer, a silent service, and the cache.
    void restorePoints_data()
    {
        QTest::addColumn<int>("failures");
        QTest::addColumn<int>("delayMs");
        QTest::addColumn<QStringList>("retryLines");
        QTest::addColumn<QString>("outcome");
        QTest::newRow("two failures, then the answer")
            << 2 << 0 << QStringList{"Retrying attempts left: 5", "Retrying attempts left: 4"} << "arrived";
        QTest::newRow("no restore points") << 0 << 0 << QStringList{} << "empty";
        QTest::newRow("silent service: given up, not repeated") << 0 << 2000 << QStringList{} << "failed";
    }

    void restorePoints()
    {
        QFETCH(int, failures);
        QFETCH(int, delayMs);
        QFETCH(QStringList, retryLines);
        QFETCH(QString, outcome);
        WizardFixture fixture(partnerToken(), QJsonObject{{"connection_retries_number", 5}});
        fixture.callLimitMs = 300;
        if (outcome == "empty")
            fixture.service->restorePoints["device-token-1001-11"] = {};
        fixture.service->failNext("retrieveRestorePoints", FakeService::Failure::Application, failures);
        fixture.service->setDelay("retrieveRestorePoints", delayMs);
        RecoveryWizardValues values;
        values.dataSourceId = 11;
        values.deviceId = 1001;
        RestorePointsModel model(values, fixture.pageContext());
        QSignalSpy arrived(&model, &RestorePointsModel::arrived), failed(&model, &RestorePointsModel::failed),
            empty(&model, &RestorePointsModel::empty);
        LogCapture log;
        model.load();
        QTRY_COMPARE(arrived.size() + failed.size() + empty.size(), 1);
        QCOMPARE(fixture.service->callCount("retrieveRestorePoints"), failures + 1);
        QCOMPARE(log.texts().filter("Retrying attempts left"), retryLines);
        QCOMPARE((QStringList{"arrived", "failed", "empty"}[arrived.size() ? 0 : failed.size() ? 1 : 2]), outcome);
        QCOMPARE(model.cached(), outcome == "arrived");
        if (model.cached())
            QCOMPARE(values.restorePointsCache.value(1001).size(), 4);
        if (delayMs)
            QCOMPARE(log.texts().filter("No answer from the Corvel service").size(), 1);
    }

    // The local cache check: each result's box, the library's reason under it, the path in the log;
    // no passphrase, no check.
    void localCache_data()
    {
        QTest::addColumn<int>("result"); // -1: the passphrase request fails
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QString>("box"); // empty: passed
        QTest::newRow("opened") << 0 << QString() << QString();
        QTest::newRow("read-only, accepted like opened") << 1 << QString() << QString();
        QTest::newRow("unreachable") << 2 << "share refused"
                                     << "Error, cannot access the path specified for the Local Cache repository.  "
                                        "Check permissions.\nReason: share refused";
        QTest::newRow("no keyring") << 3 << QString()
                                    << "Error, Local Cache data at specified path cannot be opened, this data may "
                                       "belong to another customer account.";
        QTest::newRow("wrong passphrase") << 4 << "wrong password or no key found"
                                          << "Error, Local Cache data at specified path cannot be opened, this data "
                                             "may belong to another customer account.\nReason: wrong password or no "
                                             "key found";
        QTest::newRow("no repository") << 5 << QString()
                                       << "Error, specified path does not contain a Local Cache repository.";
        QTest::newRow("passphrase refused")
            << -1 << QString() << "Failed to get device encryption passphrase.\nError code: 503, reason: busy";
    }

    void localCache()
    {
        QFETCH(int, result);
        QFETCH(QString, reason);
        QFETCH(QString, box);
        WizardFixture fixture(partnerToken());
        fixture.cacheResult = result;
        fixture.cacheReason = reason.toStdString();
        if (result < 0)
            fixture.cloud.failNext("passphrase", {VuskAPI::RequestError::ServerError, 503, "busy"});
        RecoveryWizardValues values;
        values.deviceId = 1001;
        const QString path = QDir::tempPath();
        values.localCachePath = path;
        LocalCacheModel model(values, fixture.pageContext());
        QSignalSpy passed(&model, &LocalCacheModel::passed), refused(&model, &LocalCacheModel::refused);
        LogCapture log;
        model.check();
        QTRY_COMPARE(passed.size() + refused.size(), 1);
        const QList<QStringList> checked{{path, "amber-falcon-42"}};
        QCOMPARE(fixture.cacheChecks, result < 0 ? QList<QStringList>() : checked);
        QCOMPARE(refused.isEmpty() ? QString() : refused.first().first().toString(), box);
        QCOMPARE(values.localCacheReadOnly, box.isEmpty());
        if (result > 0 && !box.isEmpty())
            QCOMPARE(log.texts().filter("Local cache at " + path + " refused: ").size(), 1);
    }
};

QTEST_MAIN(TestWizardModels)
#include "tst_wizard_models.moc"
