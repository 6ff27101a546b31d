#include "widgets/custom_bar_window.h"
#include "widgets/cv_title_bar.h"
#include "widgets/icon_font.h"
#include "widgets/resizable_window.h"
#include "widgets/user_menu_button.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

using Corvel::ResizableWindow;
using CorvelWidgets::CvTitleBar;

namespace {

void dragOnTitleBar(CvTitleBar* bar, QPoint from, QPoint to)
{
    QTest::mousePress(bar, Qt::LeftButton, Qt::NoModifier, from);
    // QTest::mouseMove does not deliver a move event with a pressed button on every platform.
    QMouseEvent move(QEvent::MouseMove, to, bar->mapToGlobal(to), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(bar, &move);
}

QString maximizeIconOf(const ResizableWindow& window)
{
    return window.titleBar()->maximizeButton()->property("iconResource").toString();
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

    void layoutAndNames()
    {
        QVERIFY(m_window->findChild<QWidget*>("title_bar_window"));
        QCOMPARE(m_window->findChildren<QPushButton*>("main_close_button").size(), 3);
        auto* version = m_window->findChild<QLabel*>("bottom_label");
        QVERIFY(version);
        QCOMPARE(version->text(), QString("Version: 1.7.0.377"));
        QVERIFY(m_window->findChild<QWidget*>("size_grip_widget"));
        QVERIFY(m_window->findChild<QWidget*>("footer_widget"));
        QVERIFY(m_window->findChild<QLabel*>("main_window_top_bar")->testAttribute(Qt::WA_TransparentForMouseEvents));
    }

    void doubleClickTogglesMaximized()
    {
        CvTitleBar* bar = m_window->titleBar();
        QCOMPARE(maximizeIconOf(*m_window), QString(":/res/maximize.svg"));

        QTest::mouseDClick(bar, Qt::LeftButton, Qt::NoModifier, QPoint(100, 10));
        QVERIFY(m_window->isMaximized());
        QCOMPARE(m_window->geometry(), m_window->screen()->availableGeometry());
        QCOMPARE(maximizeIconOf(*m_window), QString(":/res/restore_down.svg"));

        QTest::mouseDClick(bar, Qt::LeftButton, Qt::NoModifier, QPoint(100, 10));
        QVERIFY(!m_window->isMaximized());
        QCOMPARE(maximizeIconOf(*m_window), QString(":/res/maximize.svg"));
        QCOMPARE(m_window->geometry(), QRect(50, 60, 500, 300));
    }

    void maximizeButtonToggles()
    {
        QTest::mouseClick(m_window->titleBar()->maximizeButton(), Qt::LeftButton);
        QVERIFY(m_window->isMaximized());
        QTest::mouseClick(m_window->titleBar()->maximizeButton(), Qt::LeftButton);
        QVERIFY(!m_window->isMaximized());
    }

    void dragMovesNormalWindow()
    {
        const QPoint before = m_window->pos();
        dragOnTitleBar(m_window->titleBar(), QPoint(100, 10), QPoint(130, 25));
        QCOMPARE(m_window->pos(), before + QPoint(30, 15));
        QTest::mouseRelease(m_window->titleBar(), Qt::LeftButton, Qt::NoModifier, QPoint(130, 25));

        // After the release, moves alone do not drag.
        QMouseEvent move(QEvent::MouseMove, QPoint(200, 20), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(m_window->titleBar(), &move);
        QCOMPARE(m_window->pos(), before + QPoint(30, 15));
    }

    void dragRestoresMaximizedWithoutMoving()
    {
        m_window->toggleMaximized();
        QVERIFY(m_window->isMaximized());

        dragOnTitleBar(m_window->titleBar(), QPoint(100, 10), QPoint(160, 30));
        QVERIFY(!m_window->isMaximized());
        QCOMPARE(m_window->geometry(), QRect(50, 60, 500, 300));
        QCOMPARE(maximizeIconOf(*m_window), QString(":/res/maximize.svg"));

        // The press position was reset to the corner, so the next move drags from there.
        QMouseEvent move(QEvent::MouseMove, QPoint(20, 5), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(m_window->titleBar(), &move);
        QCOMPARE(m_window->pos(), QPoint(70, 65));
    }

    void restoreFromMinimized_data()
    {
        QTest::addColumn<bool>("maximizedBefore");
        QTest::newRow("maximized comes back maximized") << true;
        QTest::newRow("normal comes back normal") << false;
    }

    void restoreFromMinimized()
    {
        QFETCH(bool, maximizedBefore);
        if (maximizedBefore)
            m_window->toggleMaximized();
        QTest::mouseClick(m_window->titleBar()->minimizeButton(), Qt::LeftButton);
        QVERIFY(m_window->isMinimized());
        m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
        QCOMPARE(m_window->isMaximized(), maximizedBefore);
        if (maximizedBefore)
            QCOMPARE(m_window->geometry(), m_window->screen()->availableGeometry());
    }

    void closeButtonCloses()
    {
        QTest::mouseClick(m_window->titleBar()->closeButton(), Qt::LeftButton);
        QVERIFY(!m_window->isVisible());
    }

    void customBarWindow()
    {
        const CorvelWidgets::IconFont font("velmora-iconfont", {});
        Corvel::CustomBarWindow dialog(font);
        dialog.setTitle("Recovery Type");
        dialog.contentLayout()->addWidget(new QLabel("content"));
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QVERIFY(dialog.windowFlags() & Qt::FramelessWindowHint);
        QCOMPARE(dialog.findChild<QLabel*>("recovery_wizard_title")->text(), QString("Recovery Type"));
        QVERIFY(dialog.findChild<QWidget*>("recovery_wizard_title_stripe"));

        QWidget* stripe = dialog.findChild<QWidget*>("recovery_wizard_title_stripe");
        const QPoint before = dialog.pos();
        QTest::mousePress(stripe, Qt::LeftButton, Qt::NoModifier, QPoint(10, 5));
        QMouseEvent move(QEvent::MouseMove, QPoint(40, 25), stripe->mapToGlobal(QPoint(40, 25)), Qt::NoButton,
                         Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(stripe, &move);
        QTest::mouseRelease(stripe, Qt::LeftButton, Qt::NoModifier, QPoint(40, 25));
        QCOMPARE(dialog.pos(), before + QPoint(30, 20));

        QTest::mouseClick(dialog.findChild<QPushButton*>("wizard_close_button"), Qt::LeftButton);
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
    }

    void userMenuLogOut()
    {
        const CorvelWidgets::IconFont font("velmora-iconfont", {});
        auto* button = new CorvelWidgets::UserMenuButton(font);
        m_window->titleBar()->setUserMenuButton(button);
        QCOMPARE(m_window->findChild<QPushButton*>("button_user_menu"), button);
        QSignalSpy logOut(button, &CorvelWidgets::UserMenuButton::logOutRequested);
        button->setUserName("Ann Operator");
        QCOMPARE(button->text(), QString("Ann Operator"));
        QCOMPARE(button->userMenu()->objectName(), QString("user_menu"));
        QCOMPARE(button->userMenu()->actions().size(), 1);
        QCOMPARE(button->logOutAction()->text(), QString("Log out"));
        button->logOutAction()->trigger();
        QCOMPARE(logOut.count(), 1);
    }

private:
    std::unique_ptr<ResizableWindow> m_window;
};

QTEST_MAIN(TestFramedWindows)
#include "tst_framed_windows.moc"
