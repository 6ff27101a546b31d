#include "widgets/custom_bar_window.h"
#include "widgets/cv_title_bar.h"
#include "widgets/icon_font.h"
#include "widgets/resizable_window.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTest>

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
    void init()
    {
        m_window = std::make_unique<ResizableWindow>();
        m_window->setGeometry(50, 60, 500, 300);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    }
    void cleanup() { m_window.reset(); }

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
        QCOMPARE(maximizeIcon(), QString(":/res/restore_down.svg"));
        toggle();
        QVERIFY(!m_window->isMaximized());
        QCOMPARE(maximizeIcon(), QString(":/res/maximize.svg"));
        QCOMPARE(m_window->geometry(), QRect(50, 60, 500, 300));
    }

    void titleBarDrag_data()
    {
        QTest::addColumn<bool>("maximized");
        QTest::addColumn<QPoint>("afterFirstMove");
        QTest::addColumn<QPoint>("afterSecondMove");
        QTest::newRow("normal window follows the cursor") << false << QPoint(80, 75) << QPoint(0, 70);
        // Restoring is the whole first move; the press point is reset to the corner.
        QTest::newRow("maximized window restores in place") << true << QPoint(50, 60) << QPoint(70, 65);
    }

    void titleBarDrag()
    {
        QFETCH(bool, maximized);
        QFETCH(QPoint, afterFirstMove);
        QFETCH(QPoint, afterSecondMove);
        auto* bar = m_window->titleBar();
        if (maximized)
            m_window->toggleMaximized();
        QTest::mousePress(bar, Qt::LeftButton, Qt::NoModifier, QPoint(100, 10));
        moveWithButton(bar, QPoint(130, 25));
        QVERIFY(!m_window->isMaximized());
        QCOMPARE(m_window->geometry(), QRect(afterFirstMove, QSize(500, 300)));
        QCOMPARE(maximizeIcon(), QString(":/res/maximize.svg"));
        moveWithButton(bar, QPoint(20, 5));
        QCOMPARE(m_window->pos(), afterSecondMove);

        QTest::mouseRelease(bar, Qt::LeftButton, Qt::NoModifier, QPoint(20, 5));
        moveWithButton(bar, QPoint(200, 20), Qt::NoButton);
        QCOMPARE(m_window->pos(), afterSecondMove);
    }

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

        QTest::mouseClick(dialog.findChild<QPushButton*>("wizard_close_button"), Qt::LeftButton);
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
    }

private:
    QString maximizeIcon() const
    {
        return m_window->titleBar()->maximizeButton()->property("iconResource").toString();
    }

    std::unique_ptr<ResizableWindow> m_window;
};

QTEST_MAIN(TestFramedWindows)
#include "tst_framed_windows.moc"
