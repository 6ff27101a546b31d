#include "testsupport/wizard_fixture.h"

#include "cloud/vusk_request.h"
#include "service/service_client.h"
#include "testsupport/cloud_sim.h"
#include "testsupport/log_capture.h"
#include "testsupport/service_sim.h"
#include "widgets/message_box.h"
#include "widgets/styled_combobox.h"
#include "wizard/recovery_wizard_page.h"

#include <QComboBox>
#include <QLineEdit>
#include <QListView>
#include <QListWidget>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

using namespace Corvel;
using CorvelTest::CloudSim;
using CorvelTest::LogCapture;
using CorvelWidgets::MessageBox;

namespace {

// The data source page's parts, by the names an operator's screen reader hears.
struct DataSourcePage {
    explicit DataSourcePage(RecoveryWizardPage* page)
        : clients(findOnPage<QListView>(page, "RESULTS:"))
        , search(findOnPage<QLineEdit>(page, "CLIENT:"))
        , dataSources(findOnPage<QComboBox>(page, "DATA SOURCE:"))
        , devices(findOnPage<QComboBox>(page, "PROTECTED SYSTEM:"))
        , next(findOnPage<QPushButton>(page, "Next"))
    {
    }
    QListView* clients;
    QLineEdit* search;
    QComboBox* dataSources;
    QComboBox* devices;
    QPushButton* next;
};

} // namespace

// The wizard's cloud and service pages against the simulators: the cloud over HTTP, the service
// over mutual TLS.
class TestWizardSims : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_certs;
    CorvelTest::ServiceSim m_service;
    int m_signIns = 0;

    struct Run {
        std::unique_ptr<WizardFixture> fixture;
        std::unique_ptr<VuskAPI::VuskRequest> cloud;
        std::unique_ptr<RecoveryWizard> wizard;
    };

    // A wizard on the data source page, talking to `cloud` and the service simulator.
    Run openDataSource(CloudSim& cloud, const QString& user, int retries = 5)
    {
        Run run;
        const QJsonObject config{
            {"vusk_url", cloud.vuskUrl()}, {"auth_url", cloud.authUrl()}, {"connection_retries_number", retries}};
        run.fixture = std::make_unique<WizardFixture>(cloud.signIn(user), config);
        const std::string dir = m_certs.path().toStdString();
        const int port = m_service.port();
        run.fixture->serviceFactory = [dir, port] {
            return CorvelService::createServiceClient(dir, "localhost", port);
        };
        m_signIns = 0;
        run.fixture->tokenSource = [this, &cloud, user](const QString&, const QString&,
                                                        QWidget*) -> std::optional<QString> {
            ++m_signIns;
            return cloud.signIn(user);
        };
        run.cloud = std::make_unique<VuskAPI::VuskRequest>(&run.fixture->session, cloud.vuskUrl());
        run.wizard =
            std::make_unique<RecoveryWizard>(nullptr, run.fixture->iconFont, run.fixture->context(run.cloud.get()));
        run.wizard->show();
        run.fixture->chooseTile(*run.wizard, "Recover Files");
        return run;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_certs.isValid());
        const QString error = CorvelTest::ServiceSim::makeCerts(m_certs.path());
        QVERIFY2(error.isEmpty(), qPrintable(error));
        QVERIFY2(m_service.start(m_certs.path()).isEmpty(), "service simulator");
        MessageBox::setAutoAnswer(true);
        RecoveryWizardPage::setScreenHeightOverride(1080);
    }

    void init() { MessageBox::clearShown(); }

    // A client is its own client: no list to choose from, nothing asked of the cloud for it. An
    // administrator of the cloud is offered nothing here, and nothing is asked of the cloud.
    void clientOrAdministrator_data()
    {
        QTest::addColumn<QString>("user");
        QTest::newRow("client") << "client";
        QTest::newRow("administrator") << "admin";
    }

    void clientOrAdministrator()
    {
        QFETCH(QString, user);
        CloudSim cloud;
        QVERIFY(cloud.start());
        Run run = openDataSource(cloud, user);
        DataSourcePage page(run.wizard->currentPage());
        if (user == "client")
            QTRY_VERIFY(page.next->isEnabled());
        else
            QTest::qWait(200);
        QVERIFY(!page.clients->isVisibleTo(run.wizard->currentPage()));
        QVERIFY(!page.search->isVisibleTo(run.wizard->currentPage()));
        QCOMPARE(run.wizard->values().clientId, quint64(user == "client" ? 101 : 0));
        QCOMPARE(page.dataSources->isEnabled() && page.next->isEnabled(), user == "client");
        QVERIFY(cloud.requests().filter(user == "client" ? "/vusk/clients" : "/vusk/").isEmpty());
    }

    void serverErrorThenSuccessShowsNothing()
    {
        CloudSim cloud({"--fault-status", "/vusk/clients=500x1"});
        QVERIFY(cloud.start());
        LogCapture log;
        Run run = openDataSource(cloud, "partner");
        DataSourcePage page(run.wizard->currentPage());
        QTRY_COMPARE(page.clients->model()->rowCount(), 6);
        QCOMPARE(cloud.requests().filter("/vusk/clients"),
                 (QStringList{"GET /vusk/clients?partner_id=7 500", "GET /vusk/clients?partner_id=7 200"}));
        QVERIFY(MessageBox::shown().isEmpty());
    }

    void expiredSessionSignsInOnce()
    {
        CloudSim cloud({"--token-expiry", "1"});
        QVERIFY(cloud.start());
        Run run = openDataSource(cloud, "partner");
        DataSourcePage page(run.wizard->currentPage());
        QTRY_COMPARE(page.clients->model()->rowCount(), 6);
        chooseRow(page.clients, 0);
        QTRY_VERIFY(page.dataSources->count() > 0);
        // The new token expires after one request too, so the devices that follow may sign in again:
        // once per refusal, never more.
        QTRY_VERIFY(page.devices->isEnabled());
        QCOMPARE(m_signIns, cloud.requests().filter(QRegularExpression(" 401$")).size());
        QCOMPARE(cloud.requests().filter("/vusk/datasources"),
                 (QStringList{"GET /vusk/datasources?client_id=101 401", "GET /vusk/datasources?client_id=101 200"}));
    }

    // The restore points come from the service simulator with the device token from the cloud.
    void restorePoints()
    {
        CloudSim cloud;
        QVERIFY(cloud.start());
        Run run = openDataSource(cloud, "client");
        QTRY_VERIFY(DataSourcePage(run.wizard->currentPage()).next->isEnabled());
        QVERIFY(run.fixture->pressButton(*run.wizard, "Next"));
        auto* times = findOnPage<QListWidget>(run.wizard->currentPage(), "SNAPSHOT TIME:");
        QTRY_VERIFY_WITH_TIMEOUT(times->count() > 0, 10000);

        // What the service listed for this token: the newest day's times, in the service's order.
        std::vector<std::string> listed;
        auto client = CorvelService::createServiceClient(m_certs.path().toStdString(), "localhost", m_service.port());
        QVERIFY(client);
        client->retrieveRestorePoints(listed, run.wizard->values().deviceHost.toStdString(),
                                      run.wizard->values().deviceToken.toStdString());
        const QRegularExpression pointName("^\\d{4}(_\\d\\d){5}$");
        QString newest;
        for (const std::string& name : listed)
            if (pointName.match(QString::fromStdString(name)).hasMatch())
                newest = qMax(newest, QString::fromStdString(name).left(10));
        QStringList expected;
        for (const std::string& name : listed)
            if (pointName.match(QString::fromStdString(name)).hasMatch() &&
                QString::fromStdString(name).startsWith(newest))
                expected << QTime::fromString(QString::fromStdString(name).mid(11), "hh_mm_ss").toString("h:mm ap");
        QVERIFY(!expected.isEmpty());
        QCOMPARE(itemTexts(times->model()), expected);
        QVERIFY(m_service.log().contains("retrieveRestorePoints"));
    }
};

QTEST_MAIN(TestWizardSims)
#include "tst_wizard_sims.moc"
