#include "testsupport/wizard_fixture.h"

#include "localcache/local_cache_check.h"
#include "testsupport/find_child.h"
#include "testsupport/log_capture.h"
#include "testsupport/test_tokens.h"
#include "widgets/cv_wizard_button.h"
#include "widgets/date_line_edit_with_buttons_days_move.h"
#include "widgets/loader_widget.h"
#include "widgets/message_box.h"
#include "wizard/recovery_wizard_page.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDesktopServices>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QtTest>

using namespace Corvel;
using CorvelTest::LogCapture;
using CorvelWidgets::MessageBox;

namespace {

// A 1366x768 screen less a 40-pixel taskbar.
const QRect Available(0, 0, 1366, 728);

// Where the page stands wrong, if it does: off the screen, or the focus elsewhere than its inputs.
QString misplaced(const RecoveryWizard& wizard)
{
    const QString page = wizard.currentPage()->title() + ": ";
    if (!Available.contains(wizard.frameGeometry()))
        return page + QString("the wizard at %1,%2").arg(wizard.x()).arg(wizard.y());
    for (QWidget* control : wizard.currentPage()->findChildren<QWidget*>()) {
        const bool clickable =
            qobject_cast<QAbstractButton*>(control) || control->inherits("CorvelWidgets::CvWizardButton");
        if (clickable && control->isVisible() &&
            !wizard.rect().contains(QRect(control->mapTo(&wizard, QPoint()), control->size())))
            return page + "\"" + control->property("text").toString() + control->accessibleName() + "\" cut off";
    }
    if (!wizard.currentPage()->isAncestorOf(wizard.focusWidget()))
        return page + "the focus on " +
               (wizard.focusWidget() ? wizard.focusWidget()->metaObject()->className() : QString("nothing"));
    return QString();
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

    CorvelWidgets::IconFont m_iconFont{"velmora-iconfont", {}};

private slots:
    void initTestCase() { m_iconFont = applyConsoleLook(); }

    void init()
    {
        MessageBox::clearShown();
        MessageBox::setAutoAnswer(true);
        RecoveryWizardPage::setScreenHeightOverride(768);
        RecoveryWizard::setAvailableGeometryOverride(Available);
    }

    // Forward with each page's own control, then all the way back with "Back". Every page lies
    // inside a 1366x768 screen and takes the focus on its first input or its primary button.
    void pageFlow_data()
    {
        QTest::addColumn<QStringList>("tiles");
        QTest::addColumn<QVector<qint32>>("pages");
        QTest::addColumn<QStringList>("lastPage"); // the settings page's header, drive choice and start
        QTest::newRow("virtualization") << QStringList{"Virtualize (Hyper-V)", "Make it a Test"}
                                        << QVector<qint32>{0, 3, 4, 5, 6, 7, 8, 9, 10}
                                        << QStringList{"<b>How Do You Want to Mount the Virtual Disk Image(s)?</b>",
                                                       "Mount to Drive Letter:", "Start Virtual Machine"};
        QTest::newRow("export") << QStringList{"Virtual Disk Export", "VHD - Microsoft Azure"}
                                << QVector<qint32>{0, 1, 4, 5, 6, 7, 10}
                                << QStringList{"<b>How Do You Want to Mount the Virtual Disk Image(s)?</b>",
                                               "Mount to Drive Letter:", "Start Virtual Export"};
        QTest::newRow("file recovery") << QStringList{"Recover Files"} << QVector<qint32>{0, 4, 5, 7, 10}
                                       << QStringList{"<b>How Do You Want to Mount the Recovered Volumes?</b>",
                                                      "Mount to Drive Letters starting with:", "Start File Recovery"};
        QTest::newRow("bare metal") << QStringList{"Bare Metal Restore"} << QVector<qint32>{0, 2} << QStringList();
    }

    void pageFlow()
    {
        QFETCH(QStringList, tiles);
        QFETCH(QVector<qint32>, pages);
        QFETCH(QStringList, lastPage);
        WizardFixture fixture(partnerToken());
        fixture.iconFont = m_iconFont;
        auto wizard = fixture.makeWizard();
        QCOMPARE(misplaced(*wizard), QString());
        while (wizard->history().size() < pages.size()) {
            QVERIFY2(fixture.step(*wizard, tiles), qPrintable(fixture.failure));
            QCOMPARE(misplaced(*wizard), QString());
        }
        QCOMPARE(wizard->history(), pages);
        // Straight from the cloud: no passphrase asked for, no cache checked.
        QVERIFY(!fixture.cloud.calls.join(' ').contains("passphrase") && fixture.cacheChecks.isEmpty());
        if (!lastPage.isEmpty()) {
            RecoveryWizardPage* page = wizard->currentPage();
            QCOMPARE(page->findChild<QLabel*>("sub_header")->text(), lastPage[0]);
            QCOMPARE(page->findChild<QRadioButton*>("drive_button")->text(), lastPage[1]);
            QCOMPARE(page->findChild<QPushButton*>("button_primary")->text(), lastPage[2]);
        }
        for (int i = pages.size() - 2; i >= 0; --i) {
            QVERIFY2(fixture.pressButton(*wizard, "Back"), qPrintable(fixture.failure));
            QCOMPARE(wizard->currentPage(), wizard->page(WizardPage(pages[i])));
        }
        QVERIFY(fixture.pressButton(*wizard, "Cancel"));
        QVERIFY(wizard->history().isEmpty() && !wizard->isVisible());
        QCOMPARE(wizard->result(), int(QDialog::Rejected));
    }

    // Closing a wizard that holds input asks once, "No" by default; the first page closes without a question.
    void closingAsksBeforeDiscarding()
    {
        WizardFixture fixture(partnerToken());
        auto wizard = fixture.makeWizard();
        clickOn(wizard->findChild<QPushButton*>("wizard_close_button"));
        QVERIFY(!wizard->isVisible() && MessageBox::shown().isEmpty());
        wizard = fixture.makeWizard();
        QVERIFY(fixture.step(*wizard, {"Recover Files"}));
        clickOn(wizard->findChild<QPushButton*>("wizard_close_button"));
        QVERIFY(wizard->isVisible());
        MessageBox::setNextAnswer(QMessageBox::Yes);
        QTest::keyClick(wizard.get(), Qt::Key_Escape);
        QVERIFY(!wizard->isVisible() && MessageBox::shown().size() == 2);
        const MessageBox::Request question = MessageBox::shown().first();
        QCOMPARE(question.text, "Discard this recovery?");
        QCOMPARE(question.buttons, QMessageBox::Yes | QMessageBox::No);
        QCOMPARE(question.defaultButton, QMessageBox::No);
    }

    void recoveryTypeWithoutHyperV()
    {
        WizardFixture fixture(partnerToken());
        auto wizard = fixture.makeWizard(false);
        const auto tile = [&](const QString& caption) {
            return findOnPage<CorvelWidgets::CvWizardButton>(wizard->page(RecoveryType), caption);
        };
        CorvelWidgets::CvWizardButton* virtualize = tile("Virtualize (Hyper-V)");
        QVERIFY(!virtualize->isEnabled());
        QVERIFY(virtualize->findChild<QLabel*>("wizard_button_description")
                    ->text()
                    .endsWith("<br/><font size=2>(Disabled - Hyper-V is not installed on this machine)"));
        QTest::mouseClick(virtualize, Qt::LeftButton);
        QTest::keyClick(virtualize, Qt::Key_Space);
        QCOMPARE(wizard->history(), QVector<qint32>{0});
        QTest::keyClick(tile("Virtual Disk Export"), Qt::Key_Return);
        QCOMPARE(wizard->history(), (QVector<qint32>{0, 1}));
    }

    // VM settings: Next wants a name and a valid memory size; adapter rows come and go. Then the disk options of a
    // generation 2 machine.
    void vmSettingsAndDiskOptions()
    {
        WizardFixture fixture(partnerToken());
        auto wizard = fixture.makeWizard();
        QVERIFY2(fixture.walk(*wizard, {"Virtualize (Hyper-V)", "Make it a Test"}, VmSettings),
                 qPrintable(fixture.failure));
        RecoveryWizardPage* page = wizard->currentPage();
        auto* ram = findOnPage<QComboBox>(page, "RAM:");
        auto* next = findOnPage<QPushButton>(page, "Next");
        QTRY_VERIFY(ram->count() > 0);
        QVERIFY(!next->isEnabled());
        QTest::keyClicks(findOnPage<QLineEdit>(page, "NAME:"), "FS-01 test");
        for (const QString value : {"1001", "16", "1024"}) {
            ram->lineEdit()->selectAll();
            QTest::keyClicks(ram->lineEdit(), value);
            QCOMPARE(next->isEnabled(), value == "1024");
        }
        auto* add = findOnPage<QPushButton>(page, "Add Network Adapter");
        QTRY_VERIFY(add->isEnabled());
        clickOn(add);
        clickOn(add);
        findOnPage<QComboBox>(page, "Network adapter 2")->setCurrentText("LAN");
        QCOMPARE(wizard->values().vmSettings.networkAdapters, (QStringList{"Default Switch", "LAN"}));
        clickOn(findOnPage<QPushButton>(page, "Remove network adapter"));
        QCOMPARE(wizard->values().vmSettings.networkAdapters, QStringList{"LAN"});

        QVERIFY(fixture.pressButton(*wizard, "Next"));
        page = wizard->currentPage();
        QVERIFY(findOnPage<QRadioButton>(page, "VHDX")->isChecked());
        QVERIFY(!findOnPage<QRadioButton>(page, "VHD (2TiB Maximum Disk Size)")->isEnabled());
        next = findOnPage<QPushButton>(page, "Next");
        auto* location = findOnPage<QLineEdit>(page, "LOCATION:");
        QVERIFY(next->isEnabled());
        location->clear();
        QVERIFY(!next->isEnabled());
        QTest::keyClicks(location, "D:\\VMs");
        QVERIFY(fixture.pressButton(*wizard, "Next"));
        QCOMPARE(wizard->values().vmSettings.storageLocation, QString("D:\\VMs"));
        QCOMPARE(wizard->values().vmSettings.diskType, CorvelService::VirtualDiskType::VhdxGenTwo);
    }

    // Disks: nothing chosen, no way on; what Next writes.
    void disks()
    {
        WizardFixture fixture(partnerToken());
        auto wizard = fixture.makeWizard();
        QVERIFY2(fixture.walk(*wizard, {"Virtual Disk Export", "VMDK - ESXi Host"}, DisksSelector),
                 qPrintable(fixture.failure));
        RecoveryWizardPage* page = wizard->currentPage();
        const auto boxes = [page] { return page->findChild<QWidget*>("disk_list")->findChildren<QCheckBox*>(); };
        QTRY_COMPARE(boxes().size(), 2);
        QVERIFY(!page->findChild<QWidget*>("export_type_row")->isVisible()); // VMDK: no dynamic choice
        clickOn(boxes()[0]);
        clickOn(boxes()[1]);
        QVERIFY(!findOnPage<QPushButton>(page, "Next")->isEnabled());
        clickOn(boxes()[1]);
        QVERIFY(fixture.pressButton(*wizard, "Next"));
        QCOMPARE(wizard->values().disksNames, QStringList{"disk-1"});
        QCOMPARE(wizard->values().systemDiskStyle, CorvelService::DiskStyle::RAW);
    }

    // Bare metal sets no recovery type and only offers its image.
    void bareMetal()
    {
        WizardFixture fixture(partnerToken(), QJsonObject{{"bmr_url", "http://127.0.0.1:18080/iso/Recovery.iso"}});
        auto wizard = fixture.makeWizard();
        QVERIFY(fixture.step(*wizard, {"Bare Metal Restore"}));
        QVERIFY(!wizard->values().recoveryType);
        UrlCatcher catcher;
        QDesktopServices::setUrlHandler("http", &catcher, "open");
        LogCapture log;
        clickOn(findOnPage<QPushButton>(wizard->currentPage(), "Download"));
        QDesktopServices::unsetUrlHandler("http");
        QCOMPARE(catcher.opened, QList<QUrl>{QUrl("http://127.0.0.1:18080/iso/Recovery.iso")});
        QVERIFY(log.contains(QtInfoMsg, "Opening BMR URL"));
        clickOn(findOnPage<QPushButton>(wizard->currentPage(), "Close"));
        QVERIFY(!wizard->isVisible() && MessageBox::shown().isEmpty());
        QCOMPARE(wizard->result(), int(QDialog::Rejected));
    }

    // A refused cache keeps the page, its inputs usable; a corrected path passes. A long path
    // does not widen the page.
    void localCacheRefusedThenCorrected()
    {
        WizardFixture fixture(partnerToken());
        fixture.cacheResult = LocalCacheNotARepository;
        auto wizard = fixture.makeWizard();
        QVERIFY2(fixture.walk(*wizard, {"Recover Files"}, LocalCache), qPrintable(fixture.failure));
        RecoveryWizardPage* page = wizard->currentPage();
        QVERIFY(page->findChild<QLabel*>("recovery_summary")->text().contains("<i>FS-01,</i>"));
        QTest::keyClicks(findOnPage<QLineEdit>(page, "RECOVERY DESCRIPTION (OPTIONAL):"), "After the outage");
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
        QVERIFY(wizard->values().localCacheReadOnly && wizard->values().localCacheEnabled);
        QCOMPARE(wizard->values().jobDescription, QString("After the outage"));
    }

    // One calendar day at a time, whether or not it has restore points, within the available dates.
    void datePicker()
    {
        CorvelWidgets::DateLineEditWithButtonsDaysMove picker("mm/dd/yyyy", m_iconFont);
        picker.show();
        auto* nextDay = CorvelTest::named<QWidget>(&picker, "Next Day");
        auto* previousDay = CorvelTest::named<QWidget>(&picker, "Previous Day");
        picker.setAvailableDates({QDate(2026, 3, 2), QDate(2026, 3, 1), QDate(2026, 2, 27)});
        picker.handleSetDate(QDate(2026, 3, 2));
        QVERIFY(nextDay->isHidden() && !previousDay->isHidden());
        clickOn(previousDay);
        clickOn(previousDay);
        QCOMPARE(picker.text(), QString("2/28/2026"));
        QVERIFY(!nextDay->isHidden());
        clickOn(previousDay);
        QVERIFY(previousDay->isHidden());
        picker.clear();
        QCOMPARE(picker.text(), QString("mm/dd/yyyy"));
        QVERIFY(nextDay->isHidden() && previousDay->isHidden());
    }
};

QTEST_MAIN(TestRecoveryWizard)
#include "tst_recovery_wizard.moc"
