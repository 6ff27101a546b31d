#include "wizard_fixture.h"

#include "testsupport/cloud_sim.h"
#include "testsupport/test_tokens.h"
#include "widgets/cv_dir_selector.h"
#include "widgets/loader_widget.h"
#include "widgets/message_box.h"
#include "wizard/pages/page_local_cache.h"

#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QRadioButton>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

using namespace Corvel;
using CorvelWidgets::MessageBox;

// The local cache page: the passphrase from the cloud, the repository check and its answers.
class TestLocalCachePage : public QObject {
    Q_OBJECT

private:
    // A wizard on the local cache page of a file recovery.
    static std::unique_ptr<RecoveryWizard> openPage(WizardFixture& fixture)
    {
        auto wizard = fixture.makeWizard();
        wizard->show();
        if (!fixture.chooseTile(*wizard, "Recover Files") || !fixture.passDataSource(*wizard) ||
            !fixture.passRecoveryPoint(*wizard))
            return nullptr;
        return wizard;
    }

private slots:
    void initTestCase()
    {
        MessageBox::setAutoAnswer(true);
        RecoveryWizardPage::setScreenHeightOverride(1080);
    }

    void init() { MessageBox::clearShown(); }

    void directFromCloud()
    {
        WizardFixture fixture(partnerToken());
        auto wizard = openPage(fixture);
        QVERIFY2(wizard, qPrintable(fixture.failure));
        auto* page = static_cast<PageLocalCache*>(wizard->currentPage());
        QVERIFY(page->summary()->text().contains("<i>FS-01,</i>"));
        QTest::keyClicks(page->descriptionEdit(), "After the outage");
        QVERIFY(fixture.pressButton(*wizard, "Next"));
        QCOMPARE(wizard->currentPage()->title(), QString("Recovery Settings"));
        QVERIFY(!fixture.cloud.calls.join(' ').contains("passphrase"));
        QVERIFY(fixture.cacheChecks.isEmpty());
        QCOMPARE(wizard->values().jobDescription, QString("After the outage"));
        QVERIFY(!wizard->values().localCacheEnabled);
    }

    void checkResults_data()
    {
        QTest::addColumn<int>("result");
        QTest::addColumn<QString>("box");
        QTest::newRow("0") << 0 << "";
        QTest::newRow("1, read-only, accepted like 0") << 1 << "";
        QTest::newRow("2") << 2
                           << "Error, cannot access the path specified for the Local Cache repository.  Check "
                              "permissions.";
        QTest::newRow("3") << 3
                           << "Error, Local Cache data at specified path cannot be opened, this data may belong "
                              "to another customer account.";
        QTest::newRow("4") << 4
                           << "Error, Local Cache data at specified path cannot be opened, this data may belong "
                              "to another customer account.";
        QTest::newRow("5") << 5 << "Error, specified path does not contain a Local Cache repository.";
        QTest::newRow("unknown") << 9 << "Unknown error";
    }

    void checkResults()
    {
        QFETCH(int, result);
        QFETCH(QString, box);
        WizardFixture fixture(partnerToken());
        fixture.cacheResult = result;
        auto wizard = openPage(fixture);
        QVERIFY2(wizard, qPrintable(fixture.failure));
        auto* page = static_cast<PageLocalCache*>(wizard->currentPage());
        page->cacheButton()->click();
        page->pathSelector()->lineEdit()->setText("/srv/cache");
        const RecoveryWizardValues before = wizard->values();
        page->nextButton()->click();
        QTRY_COMPARE(fixture.cacheChecks.size(), 1);
        QCOMPARE(fixture.cacheChecks.first(), (QStringList{"/srv/cache", "amber-falcon-42"}));
        QVERIFY(!page->loader()->isVisible());
        QVERIFY(page->nextButton()->isEnabled());
        if (box.isEmpty()) {
            QCOMPARE(shownBoxes(), QStringList{});
            QCOMPARE(wizard->currentPage()->title(), QString("Recovery Settings"));
            QVERIFY(wizard->values().localCacheReadOnly);
            return;
        }
        QCOMPARE(shownBoxes(), QStringList{"local cache page error: " + box});
        QCOMPARE(wizard->currentPage(), page);
        QCOMPARE(wizard->values().localCacheReadOnly, before.localCacheReadOnly);
        QCOMPARE(wizard->values().localCachePath, QString("/srv/cache"));
        // A corrected path passes.
        fixture.cacheResult = 0;
        page->pathSelector()->lineEdit()->setText("/srv/cache2");
        page->nextButton()->click();
        QTRY_COMPARE(wizard->currentPage()->title(), QString("Recovery Settings"));
    }

    void passphraseRequestFails()
    {
        WizardFixture fixture(partnerToken());
        fixture.cloud.failNext("passphrase", {VuskAPI::RequestError::ServerError, 503, "busy"});
        auto wizard = openPage(fixture);
        QVERIFY2(wizard, qPrintable(fixture.failure));
        auto* page = static_cast<PageLocalCache*>(wizard->currentPage());
        page->cacheButton()->click();
        page->nextButton()->click();
        QTRY_COMPARE(shownBoxes().size(), 1);
        QCOMPARE(shownBoxes().first(),
                 QString("local cache page error: Failed to get device encryption passphrase.\nError code: 503, "
                         "reason: busy"));
        QVERIFY(fixture.cacheChecks.isEmpty());
        QCOMPARE(wizard->currentPage(), page);
    }

    // The real thing: the passphrase from the cloud simulator opens a repository made by restic.
    void realRepository()
    {
        if (QStandardPaths::findExecutable("restic").isEmpty())
            QFAIL("restic is not installed (scripts/setup installs it)");
        QTemporaryDir root;
        const QString repository = root.filePath("cache");
        QProcess restic;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("RESTIC_PASSWORD", "amber-falcon-42");
        restic.setProcessEnvironment(environment);
        restic.start("restic", {"init", "--repo", repository});
        QVERIFY(restic.waitForFinished(60000) && restic.exitCode() == 0);

        CorvelTest::CloudSim cloud;
        QVERIFY(cloud.start());
        WizardFixture fixture(cloud.signIn("partner"), QJsonObject{{"vusk_url", cloud.vuskUrl()}});
        RecoveryWizardContext context{
            fixture.session, fixture.settings, fixture.connection, nullptr, WizardFixture::hyperV(true), {}, {}};
        RecoveryWizard wizard(nullptr, fixture.iconFont, std::move(context));
        wizard.show();
        QVERIFY(fixture.chooseTile(wizard, "Recover Files"));
        QVERIFY(fixture.passDataSource(wizard));
        fixture.service->restorePoints[wizard.values().deviceToken.toStdString()] = {"2026_03_02_09_05_00"};
        QVERIFY(fixture.passRecoveryPoint(wizard));
        auto* page = static_cast<PageLocalCache*>(wizard.currentPage());
        page->cacheButton()->click();
        page->pathSelector()->lineEdit()->setText(root.path());
        page->nextButton()->click();
        QTRY_COMPARE(shownBoxes().size(), 1);
        QCOMPARE(shownBoxes().first(),
                 QString("local cache page error: Error, specified path does not contain a Local Cache repository."));
        page->pathSelector()->lineEdit()->setText(repository);
        page->nextButton()->click();
        QTRY_COMPARE(wizard.currentPage()->title(), QString("Recovery Settings"));
        QVERIFY(cloud.requests().contains("GET /vusk/devices/1001/encryption_passphrase 200"));
    }
};

QTEST_MAIN(TestLocalCachePage)
#include "tst_local_cache_page.moc"
