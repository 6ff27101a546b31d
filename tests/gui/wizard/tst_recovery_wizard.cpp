#include "testsupport/wizard_fixture.h"

#include "testsupport/find_child.h"
#include "testsupport/log_capture.h"
#include "testsupport/test_tokens.h"
#include "widgets/cv_pag_calendar_button.h"
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
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollArea>
#include <QtTest>

using namespace Corvel;
using CorvelTest::LogCapture;
using CorvelWidgets::MessageBox;

Q_DECLARE_METATYPE(QList<int>)

namespace {

QList<int> history(const RecoveryWizard& wizard)
{
    return QList<int>(wizard.history().begin(), wizard.history().end());
}

// A 1366x768 screen less a 40-pixel taskbar.
const QRect Available(0, 0, 1366, 728);

// Where the page stands wrong, if it does: off the screen, or the focus elsewhere than its inputs.
QString misplaced(const RecoveryWizard& wizard)
{
    const QString page = wizard.currentPage()->title() + ": ";
    if (!Available.contains(wizard.frameGeometry()))
        return page + "the wizard at " +
               QString("%1,%2 %3x%4").arg(wizard.x()).arg(wizard.y()).arg(wizard.width()).arg(wizard.height());
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
        QTest::addColumn<QString>("tile");
        QTest::addColumn<QList<int>>("pages");
        QTest::addColumn<QStringList>("lastPage"); // the settings page's header, drive choice and start
        QTest::newRow("virtualization") << "Virtualize (Hyper-V)" << QList<int>{0, 3, 4, 5, 6, 7, 8, 9, 10}
                                        << QStringList{"<b>How Do You Want to Mount the Virtual Disk Image(s)?</b>",
                                                       "Mount to Drive Letter:", "Start Virtual Machine"};
        QTest::newRow("export") << "Virtual Disk Export" << QList<int>{0, 1, 4, 5, 6, 7, 10}
                                << QStringList{"<b>How Do You Want to Mount the Virtual Disk Image(s)?</b>",
                                               "Mount to Drive Letter:", "Start Virtual Export"};
        QTest::newRow("file recovery") << "Recover Files" << QList<int>{0, 4, 5, 7, 10}
                                       << QStringList{"<b>How Do You Want to Mount the Recovered Volumes?</b>",
                                                      "Mount to Drive Letters starting with:", "Start File Recovery"};
        QTest::newRow("bare metal") << "Bare Metal Restore" << QList<int>{0, 2} << QStringList();
    }

    void pageFlow()
    {
        QFETCH(QString, tile);
        QFETCH(QList<int>, pages);
        QFETCH(QStringList, lastPage);
        WizardFixture fixture(partnerToken());
        fixture.iconFont = m_iconFont;
        auto wizard = fixture.makeWizard();
        wizard->show();
        QCOMPARE(misplaced(*wizard), QString());
        QVERIFY(fixture.chooseTile(*wizard, tile));
        QCOMPARE(misplaced(*wizard), QString());
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
            case VmSettings: {
                auto* add = findOnPage<QPushButton>(wizard->currentPage(), "Add Network Adapter");
                QTRY_VERIFY(add->isEnabled());
                clickOn(add);
                clickOn(add);
                QCOMPARE(misplaced(*wizard), QString());
                moved = fixture.passVmSettings(*wizard);
                break;
            }
            default:
                moved = fixture.pressButton(*wizard, "Next");
                break;
            }
            QVERIFY2(moved, qPrintable(fixture.failure));
            QCOMPARE(misplaced(*wizard), QString());
        }
        QCOMPARE(history(*wizard), pages);
        QCOMPARE(wizard->currentPage(), wizard->page(WizardPage(pages.last())));
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

    // Closing a wizard that holds input asks once, "No" by default; the first page and the bare metal
    // page close without a question.
    void closingAsksBeforeDiscarding_data()
    {
        QTest::addColumn<QString>("tile"); // empty: none chosen
        QTest::addColumn<bool>("escape");
        QTest::addColumn<int>("answer"); // NoButton: the box's default
        QTest::addColumn<bool>("closed");
        QTest::newRow("first page") << QString() << false << int(QMessageBox::NoButton) << true;
        QTest::newRow("bare metal") << "Bare Metal Restore" << false << int(QMessageBox::NoButton) << true;
        QTest::newRow("default keeps it") << "Recover Files" << false << int(QMessageBox::NoButton) << false;
        QTest::newRow("escape, yes") << "Virtual Disk Export" << true << int(QMessageBox::Yes) << true;
    }

    void closingAsksBeforeDiscarding()
    {
        QFETCH(QString, tile);
        QFETCH(bool, escape);
        QFETCH(int, answer);
        QFETCH(bool, closed);
        WizardFixture fixture(partnerToken());
        auto wizard = fixture.makeWizard();
        wizard->show();
        if (!tile.isEmpty())
            QVERIFY(fixture.chooseTile(*wizard, tile));
        if (answer != QMessageBox::NoButton)
            MessageBox::setNextAnswer(QMessageBox::StandardButton(answer));
        if (escape)
            QTest::keyClick(wizard.get(), Qt::Key_Escape);
        else
            clickOn(wizard->findChild<QPushButton*>("wizard_close_button"));
        QCOMPARE(wizard->isVisible(), !closed);
        const bool asks = !tile.isEmpty() && !tile.startsWith("Bare");
        QCOMPARE(MessageBox::shown().size(), asks ? 1 : 0);
        if (asks) {
            const MessageBox::Request question = MessageBox::shown().first();
            QCOMPARE(question.text, "Discard this recovery?");
            QCOMPARE(question.buttons, QMessageBox::Yes | QMessageBox::No);
            QCOMPARE(question.defaultButton, QMessageBox::No);
        }
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
        RecoveryWizardPage* page = wizard->page(RecoveryType);
        const auto tile = [page](const QString& caption) {
            return findOnPage<CorvelWidgets::CvWizardButton>(page, caption);
        };
        CorvelWidgets::CvWizardButton* virtualize = tile("Virtualize (Hyper-V)");
        QVERIFY(!virtualize->isEnabled());
        QVERIFY(virtualize->findChild<QLabel*>("wizard_button_description")
                    ->text()
                    .endsWith("<br/><font size=2>(Disabled - Hyper-V is not installed on this machine)"));
        QTest::mouseClick(virtualize, Qt::LeftButton);
        QTest::keyClick(virtualize, Qt::Key_Space);
        QCOMPARE(history(*wizard), QList<int>{0});
        // The keyboard starts on the first tile it can reach and walks past the disabled one.
        QApplication::setActiveWindow(wizard.get());
        QVERIFY(QTest::qWaitForWindowActive(wizard.get()));
        QCOMPARE(QApplication::focusWidget(), tile("Virtual Disk Export"));
        QList<QWidget*> reached;
        for (int i = 0; i < 4 && QApplication::focusWidget(); ++i) {
            reached << QApplication::focusWidget();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QVERIFY(!reached.contains(virtualize));
        QVERIFY(reached.contains(tile("Recover Files")) && reached.contains(tile("Bare Metal Restore")));
        tile("Recover Files")->setFocus();
        QTest::keyClick(tile("Recover Files"), Qt::Key_Return);
        QCOMPARE(history(*wizard), (QList<int>{0, 4}));
    }

    // VM settings: Next wants a name and a valid memory size (an invalid one drawn in the error
    // colour); adapter rows come and go. Then the disk options of a generation 2 machine.
    void vmSettingsAndDiskOptions()
    {
        WizardFixture fixture(partnerToken());
        auto wizard = fixture.makeWizard();
        wizard->show();
        QVERIFY(fixture.chooseTile(*wizard, "Virtualize (Hyper-V)") && fixture.chooseTile(*wizard, "Make it a Test") &&
                fixture.passDataSource(*wizard) && fixture.passRecoveryPoint(*wizard) && fixture.passDisks(*wizard) &&
                fixture.passLocalCache(*wizard));
        RecoveryWizardPage* page = wizard->currentPage();
        auto* ram = findOnPage<QComboBox>(page, "RAM:");
        auto* next = findOnPage<QPushButton>(page, "Next");
        QTRY_VERIFY(ram->count() > 0);
        QVERIFY(!next->isEnabled());
        QTest::keyClicks(findOnPage<QLineEdit>(page, "NAME:"), "FS-01 test");
        // What is drawn, not what the palette says: the style sheet has the last word.
        const auto drawnRed = [ram] {
            const QImage image = ram->grab().toImage();
            for (int y = 0; y < image.height(); ++y)
                for (int x = 0; x < image.width(); ++x) {
                    const QColor pixel = image.pixelColor(x, y);
                    if (pixel.red() > 180 && pixel.green() < 90 && pixel.blue() < 80)
                        return true;
                }
            return false;
        };
        for (const QString value : {"1001", "16", "1024"}) {
            ram->lineEdit()->selectAll();
            QTest::keyClicks(ram->lineEdit(), value);
            ram->lineEdit()->deselect();
            QVERIFY2(drawnRed() == (value != "1024"), qPrintable(value));
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
        QCOMPARE(page->title(), QString("Virtual Disk Options"));
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
        RecoveryWizardPage* page = wizard->currentPage();
        const auto boxes = [page] { return page->findChild<QWidget*>("disk_list")->findChildren<QCheckBox*>(); };
        QTRY_COMPARE(boxes().size(), 2);
        QCOMPARE(boxes()[0]->text(), QString("Disk 0 [System] (2 volume(s) totalling 120.49 GiB)"));
        QCOMPARE(boxes()[1]->text(), QString("Disk 1 (1 volume(s) totalling 2.00 GiB)"));
        QVERIFY(!page->findChild<QWidget*>("export_type_row")->isVisible()); // VMDK: no dynamic choice
        clickOn(boxes()[0]);
        QVERIFY(fixture.pressButton(*wizard, "Next"));
        QCOMPARE(wizard->values().disksNames, QStringList{"disk-1"});
        QCOMPARE(wizard->values().systemDiskStyle, CorvelService::DiskStyle::RAW);
        QVERIFY(fixture.pressButton(*wizard, "Back"));
        QCOMPARE(fixture.service->callCount("retrieveMetadata"), 1);
        for (QCheckBox* box : boxes())
            box->setChecked(false);
        QVERIFY(!findOnPage<QPushButton>(page, "Next")->isEnabled());
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
        QVERIFY(CorvelTest::named<QWidget>(&picker, "Next Day")->isHidden());
        QVERIFY(CorvelTest::named<QWidget>(&picker, "Previous Day")->isHidden());

        picker.setAvailableDates({newest, middle, oldest});
        picker.handleSetDate(newest);
        QCOMPARE(picker.text(), QString("3/2/2026"));
        QVERIFY(CorvelTest::named<QWidget>(&picker, "Next Day")->isHidden());
        QVERIFY(!CorvelTest::named<QWidget>(&picker, "Previous Day")->isHidden());
        clickOn(CorvelTest::named<QWidget>(&picker, "Previous Day"));
        QCOMPARE(picker.text(), QString("3/1/2026"));
        QVERIFY(!CorvelTest::named<QWidget>(&picker, "Next Day")->isHidden());
        // One calendar day at a time, whether or not it has restore points.
        clickOn(CorvelTest::named<QWidget>(&picker, "Previous Day"));
        clickOn(CorvelTest::named<QWidget>(&picker, "Previous Day"));
        QCOMPARE(picker.text(), QString("2/27/2026"));
        QVERIFY(CorvelTest::named<QWidget>(&picker, "Previous Day")->isHidden());
        QCOMPARE(selected.size(), 4);
        QCOMPARE(selected.last().first().toDate(), oldest);

        picker.clear();
        QCOMPARE(picker.text(), QString("mm/dd/yyyy"));
        QVERIFY(CorvelTest::named<QWidget>(&picker, "Next Day")->isHidden() &&
                CorvelTest::named<QWidget>(&picker, "Previous Day")->isHidden());
    }
};

QTEST_MAIN(TestRecoveryWizard)
#include "tst_recovery_wizard.moc"
