#include "testsupport/wizard_fixture.h"

#include "cloud/vusk_request.h"
#include "localcache/local_cache_check.h"
#include "testsupport/cloud_sim.h"
#include "testsupport/test_tokens.h"
#include "widgets/cv_dir_selector.h"
#include "widgets/loader_widget.h"
#include "widgets/message_box.h"
#include "wizard/recovery_wizard_page.h"

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

// The local cache page over its model (whose answers tst_wizard_models tests).
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
        applyConsoleLook();
        MessageBox::setAutoAnswer(true);
        RecoveryWizardPage::setScreenHeightOverride(1080);
    }

    void init() { MessageBox::clearShown(); }

    void directFromCloud()
    {
        WizardFixture fixture(partnerToken());
        auto wizard = openPage(fixture);
        QVERIFY2(wizard, qPrintable(fixture.failure));
        RecoveryWizardPage* page = wizard->currentPage();
        QVERIFY(page->findChild<QLabel*>("recovery_summary")->text().contains("<i>FS-01,</i>"));
        QTest::keyClicks(findOnPage<QLineEdit>(page, "RECOVERY DESCRIPTION (OPTIONAL):"), "After the outage");
        QVERIFY(fixture.pressButton(*wizard, "Next"));
        QCOMPARE(wizard->currentPage()->title(), QString("Recovery Settings"));
        QVERIFY(!fixture.cloud.calls.join(' ').contains("passphrase"));
        QVERIFY(fixture.cacheChecks.isEmpty());
        QCOMPARE(wizard->values().jobDescription, QString("After the outage"));
        QVERIFY(!wizard->values().localCacheEnabled);
    }

    // A refused cache keeps the page, its inputs usable; a corrected path passes. A long path
    // does not widen the page.
    void refusedThenCorrected()
    {
        WizardFixture fixture(partnerToken());
        fixture.cacheResult = LocalCacheNotARepository;
        auto wizard = openPage(fixture);
        QVERIFY2(wizard, qPrintable(fixture.failure));
        RecoveryWizardPage* page = wizard->currentPage();
        const QSize size = wizard->size();
        clickOn(findOnPage<QRadioButton>(page, "Restore using a local cache"));
        auto* path = findOnPage<QLineEdit>(page, "LOCATION:");
        path->selectAll();
        QTest::keyClicks(path, "/srv/" + QString(300, 'c'));
        QCoreApplication::processEvents();
        QCOMPARE(wizard->size(), size);
        auto* next = findOnPage<QPushButton>(page, "Next");
        clickOn(next);
        QTRY_COMPARE(shownBoxes().size(), 1);
        QCOMPARE(wizard->currentPage(), page);
        QVERIFY(next->isEnabled() && path->isEnabled());
        QVERIFY(!page->findChild<CorvelWidgets::LoaderWidget*>()->isVisible());
        fixture.cacheResult = LocalCacheOpened;
        path->setText("/srv/cache2");
        clickOn(next);
        QTRY_COMPARE(wizard->currentPage()->title(), QString("Recovery Settings"));
        QVERIFY(wizard->values().localCacheReadOnly);
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
        VuskAPI::VuskRequest cloudApi(&fixture.session, cloud.vuskUrl());
        RecoveryWizardContext context = fixture.context(&cloudApi);
        context.localCacheCheck = [](const std::string& path, const std::string& login, const std::string& password,
                                     const std::string& passphrase, std::string& reason) {
            return checkLocalCache(path, login, password, passphrase, reason);
        };
        RecoveryWizard wizard(nullptr, fixture.iconFont, std::move(context));
        wizard.show();
        QVERIFY(fixture.chooseTile(wizard, "Recover Files"));
        QVERIFY(fixture.passDataSource(wizard));
        fixture.service->restorePoints[wizard.values().deviceToken.toStdString()] = {"2026_03_02_09_05_00"};
        QVERIFY(fixture.passRecoveryPoint(wizard));
        RecoveryWizardPage* page = wizard.currentPage();
        clickOn(findOnPage<QRadioButton>(page, "Restore using a local cache"));
        auto* path = findOnPage<QLineEdit>(page, "LOCATION:");
        path->setText(root.path());
        auto* next = findOnPage<QPushButton>(page, "Next");
        next->click();
        QTRY_COMPARE(shownBoxes().size(), 1);
        QVERIFY2(
            shownBoxes().first().startsWith(
                "local cache page error: Error, specified path does not contain a Local Cache repository.\nReason: "),
            qPrintable(shownBoxes().first()));
        path->setText(repository);
        next->click();
        QTRY_COMPARE(wizard.currentPage()->title(), QString("Recovery Settings"));
        QVERIFY(cloud.requests().contains("GET /vusk/devices/1001/encryption_passphrase 200"));
    }
};

QTEST_MAIN(TestLocalCachePage)
#include "tst_local_cache_page.moc"
