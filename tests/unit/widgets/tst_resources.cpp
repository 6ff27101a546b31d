#include "core/style_sheet.h"
#include "testsupport/log_capture.h"
#include "widgets/icon_font.h"

#include <QFile>
#include <QFontDatabase>
#include <QImageReader>
#include <QRawFont>
#include <QRegularExpression>
#include <QtTest>

using CorvelTest::LogCapture;
using CorvelWidgets::IconFont;

static void initResources() { Q_INIT_RESOURCE(resources); }

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
        for (const char* font : {":/res/SourceSansPro-Regular.ttf", ":/res/SourceSansPro-Bold.ttf",
                                 ":/res/SourceSansPro-Light.ttf"}) {
            const QStringList families = QFontDatabase::applicationFontFamilies(QFontDatabase::addApplicationFont(font));
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

    void iconFontHoldsEveryGlyph_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<uint>("codePoint");
        const QList<QPair<const char*, uint>> glyphs = {
            {"installation_guide", 0xE90A}, {"recover_files", 0xE919},  {"calendar", 0xE91D},
            {"next", 0xE91F},               {"download", 0xE920},       {"close", 0xE921},
            {"home", 0xE946},               {"job_running", 0xE953},    {"new_recovery", 0xE958},
            {"search", 0xE95A},             {"virtualize", 0xE968},     {"production", 0xE969},
            {"user", 0xE96B},               {"start_recovery", 0xE96E}, {"request_help", 0xE96F},
            {"test", 0xE971},               {"toolbox", 0xE972},        {"bare_metal", 0xE979},
            {"left", 0xE985},               {"analysis_tool", 0xE989},  {"right", 0xE98B},
            {"help", 0xE992},               {"recovery_iso", 0xE9AF},   {"virtual_disk_export", 0xE9B1},
            {"job_stopped", 0xE9B5},        {"direct_restore", 0xE9C0},
        };
        for (const auto& [name, codePoint] : glyphs)
            QTest::newRow(name) << QString(name) << codePoint;
    }

    void iconFontHoldsEveryGlyph()
    {
        QFETCH(QString, name);
        QFETCH(uint, codePoint);
        QVERIFY(m_iconFont);
        QCOMPARE(m_iconFont->family(), QString("velmora-iconfont"));
        QCOMPARE(uint(m_iconFont->codePoint(name)), codePoint);
        QFile file(":/res/velmora-iconfont.ttf");
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(QRawFont(file.readAll(), 32).supportsCharacter(codePoint));
    }

private:
    std::optional<IconFont> m_iconFont;
};

QTEST_MAIN(TestResources)
#include "tst_resources.moc"
