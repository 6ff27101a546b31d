#include "widgets/cv_wizard_button.h"
#include "widgets/date_line_edit_with_buttons_days_move.h"
#include "widgets/icon_font.h"

#include <QtTest>
#include <QtWidgets>

using namespace CorvelWidgets;

// The wizard's own controls, driven with mouse and keyboard.
class TestFormWidgets : public QObject {
    Q_OBJECT

private:
    IconFont m_iconFont{"velmora-iconfont", {}};

private slots:
    void initTestCase() { Q_INIT_RESOURCE(resources); }

    void wizardButton_data()
    {
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<QString>("input"); // click, space, return, enter
        for (const char* input : {"click on the tile", "click on the description", "space", "return", "enter"}) {
            QTest::newRow(qPrintable(QString("enabled, ") + input)) << true << input;
            QTest::newRow(qPrintable(QString("disabled, ") + input)) << false << input;
        }
    }

    void wizardButton()
    {
        QFETCH(bool, enabled);
        QFETCH(QString, input);
        QWidget window;
        auto* layout = new QVBoxLayout(&window);
        auto* before = new QPushButton("before");
        auto* tile = new CvWizardButton("Recover Files", "Mount the selected<br/>recovery point", QIcon());
        layout->addWidget(before);
        layout->addWidget(tile);
        tile->setEnabled(enabled);
        window.show();
        QApplication::setActiveWindow(&window);
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QSignalSpy clicked(tile, &CvWizardButton::clicked);
        if (input == "click on the tile") {
            QTest::mouseClick(tile, Qt::LeftButton);
        } else if (input == "click on the description") {
            // Through the window, as a real mouse press reaches the label under the pointer first.
            auto* label = tile->findChild<QLabel*>("wizard_button_description");
            const QPoint at = label->mapTo(&window, label->rect().center());
            QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, at);
        } else {
            before->setFocus();
            QTest::keyClick(before, Qt::Key_Tab);
            QCOMPARE(tile->hasFocus(), enabled);
            const Qt::Key key = input == "space" ? Qt::Key_Space : input == "return" ? Qt::Key_Return : Qt::Key_Enter;
            QTest::keyClick(QApplication::focusWidget(), key);
        }
        QCOMPARE(clicked.size(), enabled ? 1 : 0);
        QCOMPARE(tile->accessibleName(), QString("Recover Files"));
        QCOMPARE(tile->accessibleDescription(), QString("Mount the selected recovery point"));
    }

    // The pop-up opens on the field's date and closes once a day is picked, by mouse or keyboard.
    void datePopup_data()
    {
        QTest::addColumn<bool>("byMouse");
        QTest::newRow("click") << true;
        QTest::newRow("arrow and Return") << false;
    }

    void datePopup()
    {
        QFETCH(bool, byMouse);
        QWidget page;
        auto* field = new DateLineEditWithButtonsDaysMove("mm/dd/yyyy", m_iconFont, &page);
        (new QVBoxLayout(&page))->addWidget(field);
        const QDate newest = QDate::currentDate().addDays(-3);
        const QDate shown = newest.addMonths(-1);
        field->setAvailableDates({newest, shown, shown.addDays(-1)});
        field->handleSetDate(shown);
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));

        QTest::mouseClick(field->findChild<QPushButton*>("btn_popup_calender_widget"), Qt::LeftButton);
        auto* calendar = field->findChild<QCalendarWidget*>();
        QTRY_VERIFY(calendar->isVisible());
        QCOMPARE(calendar->selectedDate(), shown);
        QCOMPARE(calendar->monthShown(), shown.month());

        auto* days = calendar->findChild<QAbstractItemView*>("qt_calendar_calendarview");
        const bool back = shown.day() > 1;
        const QDate picked = shown.addDays(back ? -1 : 1);
        if (byMouse) {
            // Days of the neighbouring months fill the grid's first and last weeks.
            QModelIndex cell;
            for (int row = 1; row < days->model()->rowCount(); ++row)
                for (int column = 0; column < days->model()->columnCount(); ++column) {
                    const QModelIndex index = days->model()->index(row, column);
                    if (index.data().toInt() == picked.day() && (!cell.isValid() || picked.day() >= 15))
                        cell = index;
                }
            QTest::mouseClick(days->viewport(), Qt::LeftButton, {}, days->visualRect(cell).center());
        } else {
            QTest::keyClick(days, back ? Qt::Key_Left : Qt::Key_Right);
            QTest::keyClick(days, Qt::Key_Return);
        }
        QTRY_VERIFY(!calendar->isVisible());
        QCOMPARE(field->text(), picked.toString("M/d/yyyy"));
    }
};

QTEST_MAIN(TestFormWidgets)
#include "tst_form_widgets.moc"
