#include "ui/main_window_geometry.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTest>
#include <QWidget>

class TestMainWindowGeometry : public QObject {
    Q_OBJECT

private slots:
    void width_data()
    {
        QTest::addColumn<double>("dpi");
        QTest::addColumn<int>("screenWidth");
        QTest::addColumn<int>("expected");
        QTest::newRow("96 dpi") << 96.0 << 1920 << 1175;
        QTest::newRow("192 dpi is capped by the screen") << 192.0 << 1920 << 1920;
        QTest::newRow("144 dpi") << 144.0 << 1920 << 1762;
        QTest::newRow("fractional width is truncated") << 100.0 << 1920 << 1223;
        QTest::newRow("narrow screen at 96 dpi") << 96.0 << 1024 << 1024;
    }

    void width()
    {
        QFETCH(double, dpi);
        QFETCH(int, screenWidth);
        QFETCH(int, expected);
        QCOMPARE(Corvel::mainWindowWidth(dpi, screenWidth), expected);
    }

    void sizesAndCentres()
    {
        QWidget window;
        window.setMinimumHeight(300);
        window.show();
        Corvel::sizeAndCentreMainWindow(window);
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        const int expectedWidth = Corvel::mainWindowWidth(96.0, screen.width());
        QCOMPARE(window.width(), expectedWidth);
        QCOMPARE(window.minimumWidth(), expectedWidth);
        QCOMPARE(window.height(), 300);
        QVERIFY(qAbs(window.frameGeometry().center().x() - screen.center().x()) <= 1);
        QVERIFY(qAbs(window.frameGeometry().center().y() - screen.center().y()) <= 1);
    }
};

QTEST_MAIN(TestMainWindowGeometry)
#include "tst_main_window_geometry.moc"
