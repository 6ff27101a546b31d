#include "core/style_sheet.h"
#include "testsupport/log_capture.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"

#include <QFile>
#include <QFontDatabase>
#include <QImageReader>
#include <QRawFont>
#include <QRegularExpression>
#include <QtTest>

using CorvelTest::LogCapture;
using CorvelWidgets::IconFont;

static void initResources()
{
    Q_INIT_RESOURCE(resources);
}

namespace {

QString rawSheet()
{
    QFile file(":/res/styles.qss");
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

class TestResources : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        initResources();
        // Text fonts first, as start-up registers them, so the sheet's family resolves.
        for (const char* font :
             {":/res/SourceSansPro-Regular.ttf", ":/res/SourceSansPro-Bold.ttf", ":/res/SourceSansPro-Light.ttf"}) {
            const QStringList families =
                QFontDatabase::applicationFontFamilies(QFontDatabase::addApplicationFont(font));
            QCOMPARE(families.size(), 1);
            QVERIFY2(rawSheet().contains('"' + families.first() + '"'), qPrintable(families.first()));
        }
        m_iconFont = IconFont::load(":/res/velmora-iconfont.ttf", ":/res/velmora-iconfont.json", "velmora-iconfont");
    }

    void styleSheetResolvesEveryVariable_data()
    {
        QTest::addColumn<double>("scale");
        QTest::newRow("96 dpi") << 1.0;
        QTest::newRow("192 dpi") << 2.0;
    }

    void styleSheetResolvesEveryVariable()
    {
        QFETCH(double, scale);
        const QString sheet = rawSheet();
        QVERIFY2(sheet.contains("#button_primary"), "the real sheet is not in the bundle");
        LogCapture log;
        const QString processed = Corvel::processStyleSheet(sheet, scale);
        for (const QString& line : log.texts())
            QVERIFY2(!line.startsWith("Undefined var"), qPrintable(line));
        QVERIFY(!processed.isEmpty());
        QVERIFY(!processed.contains('$'));
    }

    void imagesAreBundled()
    {
        // Every url(...) of the sheet, and the title bar's buttons.
        QStringList paths = {":/res/minimize.svg", ":/res/maximize.svg", ":/res/restore_down.svg", ":/res/close.svg"};
        const QRegularExpression url(R"(url\(([^)]+)\))");
        for (auto it = url.globalMatch(rawSheet()); it.hasNext();)
            paths.append(it.next().captured(1).trimmed());
        QVERIFY(paths.size() > 4);
        for (const QString& path : paths) {
            QImageReader reader(path);
            QVERIFY2(reader.canRead(), qPrintable(path + ": " + reader.errorString()));
        }
    }

    // Every named glyph of the table resolves in the bundled font.
    void iconFontHoldsEveryGlyph()
    {
        QVERIFY(m_iconFont);
        QCOMPARE(m_iconFont->family(), QString("velmora-iconfont"));
        QVERIFY(m_iconFont->icons().size() >= 26);
        QFile file(":/res/velmora-iconfont.ttf");
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QRawFont font(file.readAll(), 32);
        for (auto it = m_iconFont->icons().cbegin(); it != m_iconFont->icons().cend(); ++it)
            QVERIFY2(font.supportsCharacter(uint(it.value())), qPrintable(it.key()));
        // Every glyph the code draws is in that table, so none is drawn blank.
        for (const char* name : CorvelWidgets::Glyph::All)
            QVERIFY2(m_iconFont->icons().contains(name), name);
    }

private:
    std::optional<IconFont> m_iconFont;
};

QTEST_MAIN(TestResources)
#include "tst_resources.moc"
