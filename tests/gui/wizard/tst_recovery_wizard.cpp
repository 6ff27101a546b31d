#include "wizard_fixture.h"

#include "testsupport/log_capture.h"
#include "testsupport/test_tokens.h"
#include "widgets/cv_pag_calendar_button.h"
#include "widgets/cv_wizard_button.h"
#include "widgets/date_line_edit_with_buttons_days_move.h"
#include "widgets/loader_widget.h"
#include "widgets/message_box.h"
#include "wizard/pages/page_disks_selector.h"
#include "wizard/pages/page_recovery_point.h"
#include "wizard/pages/page_recovery_type.h"
#include "wizard/recovery_wizard_page.h"

#include <QCheckBox>
#include <QDesktopServices>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScrollArea>
#include <QtTest>

using namespace Corvel;
using CorvelTest::FakeService;
using CorvelTest::LogCapture;
using CorvelWidgets::MessageBox;

Q_DECLARE_METATYPE(QList<int>)

namespace {

QList<int> history(const RecoveryWizard& wizard)
{
    return QList<int>(wizard.history().begin(), wizard.history().end());
}

// Takes the URLs the console asks the desktop to open.
class UrlCatcher : public QObject {
    Q_OBJECT
public:
    QList<QUrl> opened;
public slots:
    void open(const QUrl& url) { opened << url; }
};

} // namespace

class TestRecoveryWizard : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        MessageBox::clearShown();
        MessageBox::setAutoAnswer(true);
        RecoveryWizardPage::setScreenHeightOverride(1080);
    }

    // Forward with each page's own control, then all the way back with "Back".
    void pageFlow_data()
    {
        QTest::addColumn<QString>("tile");
        QTest::addColumn<QList<int>>("pages");
        QTest::newRow("virtualization") << "Virtualize (Hyper-V)" << QList<int>{0, 3, 4, 5, 6, 7, 8, 9, 10};
        QTest::newRow("export") << "Virtual Disk Export" << QList<int>{0, 1, 4, 5, 6, 7, 10};
        QTest::newRow("file recovery") << "Recover Files" << QList<int>{0, 4, 5, 7, 10};
        QTest::newRow("bare metal") << "Bare Metal Restore" << QList<int>{0, 2};
    }

    void pageFlow()
    {
        QFETCH(QString, tile);
        QFETCH(QList<int>, pages);
        WizardFixture fixture(partnerToken());
        auto wizard = fixture.makeWizard();
        wizard->show();
        QVERIFY(fixture.chooseTile(*wizard, tile));
        for (int i = 2; i < pages.size(); ++i) {
            bool moved = false;
            switch (pages[i - 1]) {
            case VirtualDiskType:
                moved = fixture.chooseTile(*wizard, "VHD - Microsoft Azure");
                break;
            case VirtualizationType:
                moved = fixture.chooseTile(*wizard, "Make it a Test");
                break;
            case RecoveryDataSource:
                moved = fixture.passDataSource(*wizard);
                break;
            case RecoveryPoint:
                moved = fixture.passRecoveryPoint(*wizard);
                break;
            case VmSettings:
                moved = fixture.passVmSettings(*wizard);
                break;
            default:
                moved = fixture.pressButton(*wizard, "Next");
                break;
            }
            QVERIFY2(moved, qPrintable(fixture.failure));
        }
        QCOMPARE(history(*wizard), pages);
        QCOMPARE(wizard->currentPage(), wizard->page(WizardPage(pages.last())));

        for (int i = pages.size() - 2; i >= 0; --i) {
            QVERIFY2(fixture.pressButton(*wizard, "Back"), qPrintable(fixture.failure));
            QCOMPARE(wizard->currentPage(), wizard->page(WizardPage(pages[i])));
        }
        QCOMPARE(wizard->result(), int(QDialog::Rejected));
        QVERIFY(fixture.pressButton(*wizard, "Cancel"));
        QVERIFY(wizard->history().isEmpty());
        QCOMPARE(wizard->result(), int(QDialog::Rejected));
        QVERIFY(!wizard->isVisible());
    }

    void changingTheKindKeepsTheOtherValues()
    {
        WizardFixture fixture(partnerToken());
        auto wizard = fixture.makeWizard();
        wizard->show();
        QVERIFY(fixture.chooseTile(*wizard, "Virtual Disk Export"));
        QVERIFY(fixture.chooseTile(*wizard, "VHD - Microsoft Azure"));
        QCOMPARE(wizard->values().virtualDiskType, CorvelService::VirtualDiskType::VhdAzure);
        QVERIFY(fixture.pressButton(*wizard, "Back"));
        QVERIFY(fixture.pressButton(*wizard, "Back"));
        QVERIFY(fixture.chooseTile(*wizard, "Recover Files"));
        QCOMPARE(wizard->values().recoveryType, std::optional(CorvelService::JobType::FileRecovery));
        QCOMPARE(wizard->values().virtualDiskType, CorvelService::VirtualDiskType::VhdAzure);
        QVERIFY(fixture.pressButton(*wizard, "Back"));
        QCOMPARE(history(*wizard), QList<int>{0});
        QVERIFY(fixture.chooseTile(*wizard, "Bare Metal Restore"));
        QVERIFY(!wizard->values().recoveryType.has_value());
    }

    void pagesScrollOnLowScreens_data()
    {
        QTest::addColumn<int>("screenHeight");
        QTest::addColumn<bool>("scrolls");
        QTest::newRow("767") << 767 << true;
        QTest::newRow("768") << 768 << false;
    }

    void pagesScrollOnLowScreens()
    {
        QFETCH(int, screenHeight);
        QFETCH(bool, scrolls);
        RecoveryWizardPage::setScreenHeightOverride(screenHeight);
        WizardFixture fixture(partnerToken());
        auto wizard = fixture.makeWizard();
        for (int id = 0; id < WizardPageCount; ++id) {
            auto* area = wizard->page(WizardPage(id))->findChild<QScrollArea*>("page_scroll_area");
            QVERIFY2(bool(area) == scrolls, qPrintable(QString::number(id)));
        }
    }

    void recoveryTypeWithoutHyperV()
    {
        WizardFixture fixture(partnerToken());
        auto wizard = fixture.makeWizard(false);
        wizard->show();
        auto* page = static_cast<PageRecoveryType*>(wizard->page(RecoveryType));
        CorvelWidgets::CvWizardButton* tile = page->virtualizeTile();
        QVERIFY(!tile->isEnabled());
        QVERIFY(tile->descriptionLabel()->text().endsWith(
            "<br/><font size=2>(Disabled - Hyper-V is not installed on this machine)"));
        QTest::mouseClick(tile, Qt::LeftButton);
        QTest::keyClick(tile, Qt::Key_Space);
        QCOMPARE(history(*wizard), QList<int>{0});
        // The keyboard walks past the disabled tile to the three others.
        QApplication::setActiveWindow(wizard.get());
        QVERIFY(QTest::qWaitForWindowActive(wizard.get()));
        QList<QWidget*> reached;
        page->exportTile()->setFocus();
        for (int i = 0; i < 4 && QApplication::focusWidget(); ++i) {
            reached << QApplication::focusWidget();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QVERIFY(!reached.contains(tile));
        QVERIFY(reached.contains(page->filesTile()));
        QVERIFY(reached.contains(page->bareMetalTile()));
        page->filesTile()->setFocus();
        QTest::keyClick(page->filesTile(), Qt::Key_Return);
        QCOMPARE(history(*wizard), (QList<int>{0, 4}));
    }

    // Restore points against the fake service: retries, failures and the per-device cache.
    void restorePoints_data()
    {
        QTest::addColumn<int>("retries");
        QTest::addColumn<int>("failures");
        QTest::addColumn<QString>("token");
        QTest::addColumn<int>("calls");
        QTest::addColumn<QStringList>("retryLines");
        QTest::addColumn<QString>("box");
        QTest::addColumn<QStringList>("times");
        QTest::newRow("answer") << 5 << 0 << "1001" << 1 << QStringList{} << "" << QStringList{"9:05 am", "5:30 pm"};
        QTest::newRow("two failures, then the answer")
            << 5 << 2 << "1001" << 3 << QStringList{"Retrying attempts left: 5", "Retrying attempts left: 4"} << ""
            << QStringList{"9:05 am", "5:30 pm"};
        QTest::newRow("retries 0, one failure")
            << 0 << 1 << "1001" << 1 << QStringList{"Retrying attempts left: 0"}
            << "Internal Error: Internal error: Failed to get restore points" << QStringList{};
        QTest::newRow("no restore points")
            << 5 << 0 << "1002-empty" << 1 << QStringList{}
            << "Retrieveing restore points: No restore points found for selected device" << QStringList{};
    }

    void restorePoints()
    {
        QFETCH(int, retries);
        QFETCH(int, failures);
        QFETCH(QString, token);
        QFETCH(int, calls);
        QFETCH(QStringList, retryLines);
        QFETCH(QString, box);
        QFETCH(QStringList, times);
        WizardFixture fixture(partnerToken(), QJsonObject{{"connection_retries_number", retries}});
        if (token == "1002-empty")
            fixture.service->restorePoints["device-token-1002-11"] = {};
        fixture.service->failNext("retrieveRestorePoints", FakeService::Failure::Application, failures);
        auto wizard = fixture.makeWizard();
        wizard->show();
        QVERIFY(fixture.chooseTile(*wizard, "Recover Files"));
        auto* list = findOnPage<QListWidget>(wizard->currentPage(), "RESULTS:");
        QTRY_VERIFY(list->count() > 0);
        list->setCurrentRow(0);
        if (token == "1002-empty") {
            auto* combo = findOnPage<QComboBox>(wizard->currentPage(), "PROTECTED SYSTEM:");
            QTRY_COMPARE(combo->count(), 2);
            combo->setCurrentIndex(1);
        }
        LogCapture log;
        QVERIFY(fixture.pressButton(*wizard, "Next"));
        auto* page = static_cast<PageRecoveryPoint*>(wizard->currentPage());
        QTRY_VERIFY(!page->loader()->isVisible());
        QTRY_COMPARE(fixture.service->callCount("retrieveRestorePoints"), calls);
        QCOMPARE(log.texts().filter("Retrying attempts left"), retryLines);
        QCOMPARE(shownBoxes(), box.isEmpty() ? QStringList{} : QStringList{box});
        QStringList shown;
        for (int i = 0; i < page->timeList()->count(); ++i)
            shown << page->timeList()->item(i)->text();
        QCOMPARE(shown, times);

        // Back and forth on the same device: the service is not asked again, the choice stays.
        if (!times.isEmpty()) {
            page->timeList()->setCurrentRow(1);
            QVERIFY(fixture.pressButton(*wizard, "Back"));
            QVERIFY(fixture.pressButton(*wizard, "Next"));
            QCOMPARE(fixture.service->callCount("retrieveRestorePoints"), calls);
            QCOMPARE(wizard->values().snapshot, QString("2026_03_02_17_30_00"));
            QVERIFY(page->nextButton()->isEnabled());
        }
    }

    // A service that fails every time is asked retries + 1 times, then the box.
    void metadataFailures()
    {
        WizardFixture fixture(partnerToken(), QJsonObject{{"connection_retries_number", 2}});
        fixture.service->failNext("retrieveMetadata", FakeService::Failure::Transport, 100);
        auto wizard = fixture.makeWizard();
        wizard->show();
        QVERIFY(fixture.chooseTile(*wizard, "Virtual Disk Export"));
        QVERIFY(fixture.chooseTile(*wizard, "VDI - VirtualBox"));
        QVERIFY(fixture.passDataSource(*wizard));
        LogCapture log;
        QVERIFY(fixture.passRecoveryPoint(*wizard));
        QTRY_COMPARE(shownBoxes().size(), 1);
        QCOMPARE(fixture.service->callCount("retrieveMetadata"), 3);
        QCOMPARE(shownBoxes().first(), QString("Corvel error: Failed to load disks metadata, please make sure that the "
                                               "Corvel service is installed and running"));
        QVERIFY(log.contains(QtCriticalMsg, "Failed to get metadata. All attempts exhausted."));
        QVERIFY(!static_cast<PageDisksSelector*>(wizard->currentPage())->nextButton()->isEnabled());
    }

    // Disks: the labels, what Next writes, and no second call for the same recovery point.
    void disks()
    {
        WizardFixture fixture(partnerToken());
        auto wizard = fixture.makeWizard();
        wizard->show();
        QVERIFY(fixture.chooseTile(*wizard, "Virtual Disk Export"));
        QVERIFY(fixture.chooseTile(*wizard, "VMDK - ESXi Host"));
        QVERIFY(fixture.passDataSource(*wizard));
        QVERIFY(fixture.passRecoveryPoint(*wizard));
        auto* page = static_cast<PageDisksSelector*>(wizard->currentPage());
        QTRY_COMPARE(page->diskBoxes().size(), 2);
        QCOMPARE(page->diskBoxes()[0]->text(), QString("Disk 0 [System] (2 volume(s) totalling 120.49 GiB)"));
        QCOMPARE(page->diskBoxes()[1]->text(), QString("Disk 1 (1 volume(s) totalling 2.00 GiB)"));
        QVERIFY(!page->exportTypeRow()->isVisible()); // VMDK: no dynamic choice
        clickOn(page->diskBoxes()[0]);
        QVERIFY(fixture.pressButton(*wizard, "Next"));
        QCOMPARE(wizard->values().disksNames, QStringList{"disk-1"});
        QCOMPARE(wizard->values().systemDiskStyle, CorvelService::DiskStyle::RAW);
        QVERIFY(fixture.pressButton(*wizard, "Back"));
        QCOMPARE(fixture.service->callCount("retrieveMetadata"), 1);
        for (QCheckBox* box : page->diskBoxes())
            box->setChecked(false);
        QVERIFY(!page->nextButton()->isEnabled());
    }

    void bareMetalDownload()
    {
        WizardFixture fixture(partnerToken(), QJsonObject{{"bmr_url", "http://127.0.0.1:18080/iso/Recovery.iso"}});
        auto wizard = fixture.makeWizard();
        wizard->show();
        QVERIFY(fixture.chooseTile(*wizard, "Bare Metal Restore"));
        UrlCatcher catcher;
        QDesktopServices::setUrlHandler("http", &catcher, "open");
        LogCapture log;
        clickOn(findOnPage<QPushButton>(wizard->currentPage(), "Download"));
        QDesktopServices::unsetUrlHandler("http");
        QCOMPARE(catcher.opened, QList<QUrl>{QUrl("http://127.0.0.1:18080/iso/Recovery.iso")});
        QVERIFY(log.contains(QtInfoMsg, "Opening BMR URL"));
        QVERIFY(wizard->isVisible());
        QCOMPARE(wizard->currentPage()->title(), QString("Bare Metal Restore"));
        clickOn(findOnPage<QPushButton>(wizard->currentPage(), "Close"));
        QVERIFY(!wizard->isVisible());
        QCOMPARE(wizard->result(), int(QDialog::Rejected));
        QVERIFY(!wizard->values().recoveryType);
    }

    void datePicker()
    {
        const CorvelWidgets::IconFont iconFont("velmora-iconfont", {});
        CorvelWidgets::DateLineEditWithButtonsDaysMove picker("mm/dd/yyyy", iconFont);
        picker.show();
        QSignalSpy selected(&picker, &CorvelWidgets::DateLineEditWithButtonsDaysMove::dateSelected);
        const QDate newest(2026, 3, 2), middle(2026, 3, 1), oldest(2026, 2, 27);
        picker.setAvailableDates({newest});
        QVERIFY(picker.nextDayButton()->isHidden());
        QVERIFY(picker.previousDayButton()->isHidden());

        picker.setAvailableDates({newest, middle, oldest});
        picker.handleSetDate(newest);
        QCOMPARE(picker.text(), QString("3/2/2026"));
        QVERIFY(picker.nextDayButton()->isHidden());
        QVERIFY(!picker.previousDayButton()->isHidden());
        clickOn(picker.previousDayButton());
        QCOMPARE(picker.text(), QString("3/1/2026"));
        QVERIFY(!picker.nextDayButton()->isHidden());
        // One calendar day at a time, whether or not it has restore points.
        clickOn(picker.previousDayButton());
        clickOn(picker.previousDayButton());
        QCOMPARE(picker.text(), QString("2/27/2026"));
        QVERIFY(picker.previousDayButton()->isHidden());
        QCOMPARE(selected.size(), 4);
        QCOMPARE(selected.last().first().toDate(), oldest);

        picker.clear();
        QCOMPARE(picker.text(), QString("mm/dd/yyyy"));
        QVERIFY(picker.nextDayButton()->isHidden() && picker.previousDayButton()->isHidden());
    }
};

QTEST_MAIN(TestRecoveryWizard)
#include "tst_recovery_wizard.moc"
