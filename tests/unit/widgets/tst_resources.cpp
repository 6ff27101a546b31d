#include "core/style_sheet.h"
#include "testsupport/log_capture.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"

#include <QtGui>
#include <QtTest>

using CorvelWidgets::IconFont;

class TestResources : public QObject {
    Q_OBJECT

    QString m_sheet;

private slots:
    void initTestCase()
    {
        Q_INIT_RESOURCE(resources);
        QFile file(":/res/styles.qss");
        QVERIFY(file.open(QIODevice::ReadOnly));
        m_sheet = QString::fromUtf8(file.readAll());
        QVERIFY2(m_sheet.contains("#button_primary"), "the real sheet is not in the bundle");
        // Text fonts first, as start-up registers them, so the sheet's family resolves.
        for (const char* font :
             {":/res/SourceSansPro-Regular.ttf", ":/res/SourceSansPro-Bold.ttf", ":/res/SourceSansPro-Light.ttf"}) {
            const QStringList families =
                QFontDatabase::applicationFontFamilies(QFontDatabase::addApplicationFont(font));
            QCOMPARE(families.size(), 1);
            QVERIFY2(m_sheet.contains('"' + families.first() + '"'), qPrintable(families.first()));
        }
    }

    void styleSheetResolvesEveryVariable()
    {
        CorvelTest::LogCapture log;
        const QString processed = Corvel::processStyleSheet(m_sheet, 2.0);
        QCOMPARE(log.texts().filter(QRegularExpression("^Undefined var")), QStringList());
        QVERIFY(!processed.isEmpty());
        QVERIFY(!processed.contains('$'));
    }

    // Every url(...) of the sheet, and the title bar's buttons.
    void imagesAreBundled()
    {
        QStringList paths = {":/res/minimize.svg", ":/res/maximize.svg", ":/res/restore_down.svg", ":/res/close.svg"};
        for (auto it = QRegularExpression(R"(url\(([^)]+)\))").globalMatch(m_sheet); it.hasNext();)
            paths.append(it.next().captured(1).trimmed());
        QVERIFY(paths.size() > 4);
        for (const QString& path : paths) {
            QImageReader reader(path);
            QVERIFY2(reader.canRead(), qPrintable(path + ": " + reader.errorString()));
        }
    }

    // Every glyph the code draws is named in the font's table, and every named glyph is in the font.
    void iconFontHoldsEveryGlyph()
    {
        const auto iconFont =
            IconFont::load(":/res/velmora-iconfont.ttf", ":/res/velmora-iconfont.json", "velmora-iconfont");
        QVERIFY(iconFont);
        QCOMPARE(iconFont->family(), QString("velmora-iconfont"));
        QFile file(":/res/velmora-iconfont.ttf");
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QRawFont font(file.readAll(), 32);
        for (auto it = iconFont->icons().cbegin(); it != iconFont->icons().cend(); ++it)
            QVERIFY2(font.supportsCharacter(uint(it.value())), qPrintable(it.key()));
        for (const char* name : CorvelWidgets::Glyph::All)
            QVERIFY2(iconFont->icons().contains(name), name);
    }
};

QTEST_MAIN(TestResources)
#include "tst_resources.moc"
