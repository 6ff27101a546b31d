#include "testsupport/modal.h"
#include "widgets/custom_bar_window.h"
#include "widgets/cv_title_bar.h"
#include "widgets/dialog_style.h"
#include "widgets/icon_font.h"
#include "widgets/message_box.h"
#include "widgets/resizable_window.h"

#include <QtTest>
#include <QtWidgets>

using Corvel::ResizableWindow;

namespace {

// QTest::mouseMove does not deliver a move with a pressed button on every platform.
void moveWithButton(QWidget* widget, QPoint to, Qt::MouseButtons buttons = Qt::LeftButton)
{
    QMouseEvent move(QEvent::MouseMove, to, widget->mapToGlobal(to), Qt::NoButton, buttons, Qt::NoModifier);
    QApplication::sendEvent(widget, &move);
}

} // namespace

class TestFramedWindows : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { Q_INIT_RESOURCE(resources); }

    void init()
    {
        m_window = std::make_unique<ResizableWindow>();
        m_window->setGeometry(50, 60, 500, 300);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    }

    void cleanup()
    {
        CorvelTest::forgetModalWaits();
        m_window.reset();
    }

    void maximizeToggles_data()
    {
        QTest::addColumn<bool>("byButton");
        QTest::newRow("double click on the title bar") << false;
        QTest::newRow("maximize button") << true;
    }

    void maximizeToggles()
    {
        QFETCH(bool, byButton);
        auto* bar = m_window->titleBar();
        const auto toggle = [&] {
            if (byButton)
                QTest::mouseClick(bar->maximizeButton(), Qt::LeftButton);
            else
                QTest::mouseDClick(bar, Qt::LeftButton, Qt::NoModifier, QPoint(100, 10));
        };
        toggle();
        QVERIFY(m_window->isMaximized());
        QCOMPARE(m_window->geometry(), m_window->screen()->availableGeometry());
        QCOMPARE(maximizeLook(), QString("Restore down :/res/restore_down.svg"));
        toggle();
        QCOMPARE(maximizeLook(), QString("Maximize :/res/maximize.svg"));
        QCOMPARE(m_window->geometry(), QRect(50, 60, 500, 300));
    }

    // Dragging a maximized window restores it in place as the whole first move (the press point
    // moves to its corner); then it follows the cursor until the button is released.
    void titleBarDrag()
    {
        auto* bar = m_window->titleBar();
        m_window->toggleMaximized();
        QTest::mousePress(bar, Qt::LeftButton, Qt::NoModifier, QPoint(100, 10));
        moveWithButton(bar, QPoint(130, 25));
        QCOMPARE(m_window->geometry(), QRect(50, 60, 500, 300));
        QCOMPARE(maximizeLook(), QString("Maximize :/res/maximize.svg"));
        moveWithButton(bar, QPoint(20, 5));
        QCOMPARE(m_window->pos(), QPoint(70, 65));

        QTest::mouseRelease(bar, Qt::LeftButton, Qt::NoModifier, QPoint(20, 5));
        moveWithButton(bar, QPoint(200, 20), Qt::NoButton);
        QCOMPARE(m_window->pos(), QPoint(70, 65));
    }

    // The dialog frame: its title, a drag on its stripe, named icon-only controls and Close rejecting it.
    void customBarWindow()
    {
        Corvel::CustomBarWindow dialog(CorvelWidgets::IconFont("velmora-iconfont", {}));
        dialog.setTitle("Recovery Type");
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QCOMPARE(dialog.findChild<QLabel*>("recovery_wizard_title")->text(), QString("Recovery Type"));
        auto* stripe = dialog.findChild<QWidget*>("recovery_wizard_title_stripe");
        const QPoint before = dialog.pos();
        QTest::mousePress(stripe, Qt::LeftButton, Qt::NoModifier, QPoint(10, 5));
        moveWithButton(stripe, QPoint(40, 25));
        QTest::mouseRelease(stripe, Qt::LeftButton, Qt::NoModifier, QPoint(40, 25));
        QCOMPARE(dialog.pos(), before + QPoint(30, 20));

        auto* bar = m_window->titleBar();
        QStringList names;
        for (QPushButton* button :
             {bar->minimizeButton(), bar->maximizeButton(), bar->closeButton(), dialog.closeButton()})
            names << button->accessibleName() + "/" + button->toolTip();
        QCOMPARE(names, (QStringList{"Minimize/Minimize", "Maximize/Maximize", "Close/Close", "Close/Close"}));
        QTest::mouseClick(dialog.closeButton(), Qt::LeftButton);
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
    }

    // The real box, not the unattended seam: framed, and Return answers the requested default.
    void messageBox_data()
    {
        QTest::addColumn<int>("flags");
        QTest::addColumn<int>("preferred");
        const int updateFlags = Qt::Tool | Qt::CustomizeWindowHint;
        QTest::newRow("update box, Yes") << updateFlags << int(QMessageBox::Yes);
        QTest::newRow("plain box, No") << 0 << int(QMessageBox::No);
    }

    void messageBox()
    {
        QFETCH(int, flags);
        QFETCH(int, preferred);
        QString pressed = "no message box was shown";
        QColor edge;
        CorvelTest::whenModal([&](QWidget* modal) {
            edge = modal->grab().toImage().pixelColor(0, 10);
            (void)QTest::qWaitFor([&] { return modal->isAncestorOf(QApplication::focusWidget()); }, 2000);
            QWidget* focused = QApplication::focusWidget();
            pressed = focused ? focused->property("text").toString().remove('&') : "nothing focused";
            QTest::keyClick(focused ? focused : modal, Qt::Key_Return);
            if (modal->isVisible())
                static_cast<QDialog*>(modal)->reject();
        });
        CorvelWidgets::MessageBox::Request request;
        request.icon = QMessageBox::Question;
        request.text = "Update downloading in process";
        request.buttons = QMessageBox::Yes | QMessageBox::No;
        request.defaultButton = QMessageBox::StandardButton(preferred);
        request.flags = Qt::WindowFlags(flags);
        const auto answer = CorvelWidgets::MessageBox::ask(m_window.get(), request);
        QCOMPARE(pressed, QString(preferred == QMessageBox::Yes ? "Yes" : "No"));
        QCOMPARE(int(answer), preferred);
        QCOMPARE(edge, CorvelWidgets::DialogStyle::borderColor());
    }

    // A framed dialog without inputs opens on its primary button; Return on a Close button, the
    // dialog's or a window's, never closes anything.
    void initialFocusNeverOnClose()
    {
        Corvel::CustomBarWindow dialog(CorvelWidgets::IconFont("velmora-iconfont", {}));
        dialog.contentLayout()->addWidget(new QPushButton("Back"));
        auto* primary = new QPushButton("Next");
        primary->setDefault(true);
        dialog.contentLayout()->addWidget(primary);
        QSignalSpy pressed(primary, &QPushButton::clicked);
        dialog.show();
        QApplication::setActiveWindow(&dialog);
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        QCOMPARE(QApplication::focusWidget(), primary);
        QTest::keyClick(primary, Qt::Key_Return);
        QCOMPARE(pressed.count(), 1);
        for (QPushButton* close : {dialog.closeButton(), m_window->titleBar()->closeButton()}) {
            close->setFocus(Qt::TabFocusReason);
            QTest::keyClick(close, Qt::Key_Return);
        }
        QVERIFY(dialog.isVisible() && m_window->isVisible());
    }

private:
    QString maximizeLook() const
    {
        const QPushButton* button = m_window->titleBar()->maximizeButton();
        return button->accessibleName() + " " + button->property("iconResource").toString();
    }

    std::unique_ptr<ResizableWindow> m_window;
};

QTEST_MAIN(TestFramedWindows)
#include "tst_framed_windows.moc"
