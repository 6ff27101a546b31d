#include "app/style_sheet.h"
#include "testsupport/log_capture.h"
#include "widgets/icon_font.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QFontDatabase>
#include <QImageReader>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMovie>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QRawFont>
#include <QRegularExpression>
#include <QScrollArea>
#include <QSizeGrip>
#include <QtTest>

#include <memory>

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

std::unique_ptr<QWidget> makeWidget(const QString& type)
{
    std::unique_ptr<QWidget> widget;
    if (type == "QPushButton")
        widget = std::make_unique<QPushButton>("Start New Recovery");
    else if (type == "QLabel")
        widget = std::make_unique<QLabel>("Recovery job has been started");
    else if (type == "QRadioButton")
        widget = std::make_unique<QRadioButton>("Mount to Filesystem Path");
    else if (type == "QLineEdit")
        widget = std::make_unique<QLineEdit>("1/2/2024");
    else if (type == "QFrame")
        widget = std::make_unique<QFrame>();
    else if (type == "QDialog")
        widget = std::make_unique<QDialog>();
    else if (type == "QScrollArea")
        widget = std::make_unique<QScrollArea>();
    else if (type == "QSizeGrip")
        widget = std::make_unique<QSizeGrip>(nullptr);
    else if (type == "QProgressBar") {
        auto bar = std::make_unique<QProgressBar>();
        bar->setValue(40);
        bar->setTextVisible(false);
        widget = std::move(bar);
    } else if (type == "QListWidget") {
        auto list = std::make_unique<QListWidget>();
        list->addItems({"Home", "Toolbox"});
        list->setCurrentRow(0);
        widget = std::move(list);
    } else if (type == "QComboBox") {
        auto combo = std::make_unique<QComboBox>();
        combo->addItem("2048");
        widget = std::move(combo);
    } else if (type == "QMenu") {
        auto menu = std::make_unique<QMenu>();
        menu->addAction("Log out");
        widget = std::move(menu);
    } else {
        widget = std::make_unique<QWidget>();
    }
    return widget;
}

// Everything the style sheet can change about a widget that is not shown.
struct Look {
    QSize sizeHint;
    QSize minimumSize;
    QSize maximumSize;
    QRect contents;
    QImage image;

    bool operator==(const Look& other) const
    {
        return sizeHint == other.sizeHint && minimumSize == other.minimumSize && maximumSize == other.maximumSize &&
               contents == other.contents && image == other.image;
    }
};

Look lookOf(QWidget* widget)
{
    widget->ensurePolished();
    widget->resize(220, 64);
    return {widget->sizeHint(), widget->minimumSize(), widget->maximumSize(), widget->contentsRect(),
            widget->grab().toImage()};
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
                                 ":/res/SourceSansPro-Light.ttf"})
            QFontDatabase::addApplicationFont(font);
    }

    void styleSheetResolvesEveryVariable_data()
    {
        QTest::addColumn<double>("scale");
        QTest::newRow("96 dpi") << 1.0;
        QTest::newRow("120 dpi") << 1.25;
        QTest::newRow("144 dpi") << 1.5;
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
        QVERIFY(!processed.contains('$'));
        QVERIFY(!processed.isEmpty());
    }

    void styleSheetParses()
    {
        LogCapture log;
        qApp->setStyleSheet(Corvel::processStyleSheet(rawSheet(), 1.0));
        QPushButton button("Next");
        button.setObjectName("button_primary");
        button.ensurePolished();
        for (const LogCapture::Entry& entry : log.entries())
            QVERIFY2(!entry.text.contains("stylesheet", Qt::CaseInsensitive), qPrintable(entry.text));
        // A sheet that failed to parse leaves the native look behind.
        QCOMPARE(button.palette().color(QPalette::ButtonText), QColor("#FFFFFF"));
        qApp->setStyleSheet(QString());
    }

    void styleSheetImagesAreBundled()
    {
        const QRegularExpression url(R"(url\(([^)]+)\))");
        int found = 0;
        for (auto it = url.globalMatch(rawSheet()); it.hasNext(); ++found) {
            const QString path = it.next().captured(1).trimmed();
            QImageReader reader(path);
            QVERIFY2(reader.canRead(), qPrintable(path + ": " + reader.errorString()));
        }
        QVERIFY(found > 0);
    }

    // A name whose rule got lost or misspelt falls back to the look of an unnamed widget.
    void objectNamesHaveTheirOwnLook_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("alternateName");

        const QList<QPair<QString, QStringList>> names = {
            {"QDialog", {"main_window", "browser_window"}},
            {"QFrame",
             {"main_window_tabs_widget", "title_bar_window", "recovery_wizard_frame", "toolbox_tile", "home_jobs_frame",
              "wizard_page", "wizard_button"}},
            {"QListWidget", {"main_window_tabs_widget_list", "new_job_wizard_list"}},
            {"QLabel",
             {"main_window_top_bar", "footer_widget", "bottom_label", "recovery_wizard_title", "toolbox_tile_icon",
              "toolbox_tile_caption", "toolbox_tile_description", "job_table_header_caption", "no_job_item",
              "job_item_type", "job_item_status", "job_info_label", "job_info_stub", "delete_vm_label",
              "delete_vm_label_big", "wizard_started_page_desription", "wizard_page_desription", "sub_header",
              "header", "field_label", "field_label_rec_point", "note_label", "generation_description",
              "ram_cores_info", "wizard_button_caption", "wizard_button_description", "wizard_button_icon_label",
              "icon_btn_calendar_day"}},
            {"QPushButton",
             {"main_close_button", "button_user_menu", "wizard_close_button", "toolbox_tile_label", "button_primary",
              "button_primary_small", "button_secondary", "job_icon_label", "job_action_button",
              "job_action_button_empty", "btn_popup_calender_widget"}},
            {"QWidget",
             {"recovery_wizard_title_stripe", "job_table_header", "job_list", "web_view",
              "client_selection_separator"}},
            {"QMenu", {"user_menu"}},
            {"QSizeGrip", {"size_grip_widget"}},
            {"QScrollArea", {"job_table_header_scroll_area", "job_table_scroll_area", "page_scroll_area"}},
            {"QProgressBar", {"job_current_work_progress_bar"}},
            {"QRadioButton", {"path_button", "drive_button"}},
            {"QComboBox", {"no_color_combo"}},
            {"QLineEdit", {"line_edit_calender_date", "job_description"}},
        };
        for (const auto& [type, objectNames] : names)
            for (const QString& name : objectNames)
                QTest::newRow(qPrintable(name)) << type << name << QString();
        // The delete dialog's label carries its second name as a property.
        QTest::newRow("delete_vm_label property")
            << "QLabel" << "wizard_started_page_desription" << "delete_vm_label";
    }

    void objectNamesHaveTheirOwnLook()
    {
        QFETCH(QString, type);
        QFETCH(QString, name);
        QFETCH(QString, alternateName);
        qApp->setStyleSheet(Corvel::processStyleSheet(rawSheet(), 1.0));

        auto baseline = makeWidget(type);
        auto named = makeWidget(type);
        named->setObjectName(name);
        if (!alternateName.isEmpty()) {
            baseline->setObjectName(name);
            named->setProperty("alternateObjectName", alternateName);
        }
        for (QWidget* widget : {baseline.get(), named.get()})
            widget->setAttribute(Qt::WA_StyledBackground);
        QVERIFY2(!(lookOf(named.get()) == lookOf(baseline.get())), qPrintable(name + " has no rule of its own"));
        qApp->setStyleSheet(QString());
    }

    void textFontsRegister_data()
    {
        QTest::addColumn<QString>("resource");
        QTest::addColumn<QString>("style");
        QTest::newRow("regular") << ":/res/SourceSansPro-Regular.ttf" << "Regular";
        QTest::newRow("bold") << ":/res/SourceSansPro-Bold.ttf" << "Bold";
        QTest::newRow("light") << ":/res/SourceSansPro-Light.ttf" << "Light";
    }

    void textFontsRegister()
    {
        QFETCH(QString, resource);
        QFETCH(QString, style);
        const int id = QFontDatabase::addApplicationFont(resource);
        QVERIFY(id >= 0);
        const QStringList families = QFontDatabase::applicationFontFamilies(id);
        QCOMPARE(families.size(), 1);
        // The sheet names this family first.
        QVERIFY2(rawSheet().contains('"' + families.first() + '"'), qPrintable(families.first()));
        QVERIFY(QFontDatabase().styles(families.first()).contains(style));
    }

    void iconFontLoads()
    {
        const auto iconFont =
            IconFont::load(":/res/velmora-iconfont.ttf", ":/res/velmora-iconfont.json", "velmora-iconfont");
        QVERIFY(iconFont.has_value());
        QCOMPARE(iconFont->family(), QString("velmora-iconfont"));
    }

    void iconFontDrawsEveryGlyph_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<uint>("codePoint");
        const QList<QPair<const char*, uint>> glyphs = {
            {"installation_guide", 0xE90A}, {"recover_files", 0xE919},   {"calendar", 0xE91D},
            {"next", 0xE91F},               {"download", 0xE920},        {"close", 0xE921},
            {"home", 0xE946},               {"job_running", 0xE953},     {"new_recovery", 0xE958},
            {"search", 0xE95A},             {"virtualize", 0xE968},      {"production", 0xE969},
            {"user", 0xE96B},               {"start_recovery", 0xE96E},  {"request_help", 0xE96F},
            {"test", 0xE971},               {"toolbox", 0xE972},         {"bare_metal", 0xE979},
            {"left", 0xE985},               {"analysis_tool", 0xE989},   {"right", 0xE98B},
            {"help", 0xE992},               {"recovery_iso", 0xE9AF},    {"virtual_disk_export", 0xE9B1},
            {"job_stopped", 0xE9B5},        {"direct_restore", 0xE9C0},
        };
        for (const auto& [name, codePoint] : glyphs)
            QTest::newRow(name) << QString(name) << codePoint;
    }

    void iconFontDrawsEveryGlyph()
    {
        QFETCH(QString, name);
        QFETCH(uint, codePoint);
        const auto iconFont =
            IconFont::load(":/res/velmora-iconfont.ttf", ":/res/velmora-iconfont.json", "velmora-iconfont");
        QVERIFY(iconFont.has_value());
        QCOMPARE(uint(iconFont->codePoint(name)), codePoint);

        QFile file(":/res/velmora-iconfont.ttf");
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QRawFont raw(file.readAll(), 32);
        QVERIFY(raw.isValid());
        QVERIFY2(raw.supportsCharacter(codePoint), qPrintable(QString::number(codePoint, 16)));

        const QImage image = iconFont->icon(ushort(codePoint), {{"color", "#000000"}}).pixmap(32, 32).toImage();
        int inked = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                inked += qAlpha(image.pixel(x, y)) > 128;
        // Drawn by the icon font, not a fallback box or an empty cell.
        QVERIFY2(inked > 20 && inked < 32 * 32 * 3 / 4, qPrintable(QString::number(inked)));
    }

    void iconFontHoldsOnlyMappedGlyphs()
    {
        QFile file(":/res/velmora-iconfont.ttf");
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QRawFont raw(file.readAll(), 32);
        QVERIFY(!raw.supportsCharacter(QChar('a')));
        QVERIFY(!raw.supportsCharacter(uint(0xE88A)));
        QVERIFY(file.size() < 20 * 1024);
    }

    void images_data()
    {
        QTest::addColumn<QString>("resource");
        QTest::addColumn<int>("minHeight");
        QTest::addColumn<int>("maxHeight");
        QTest::newRow("title bar mark") << ":/res/orbex-recover.png" << 20 << 28;
        QTest::newRow("maker logo") << ":/res/velmora-logo.png" << 20 << 28;
        QTest::newRow("loader") << ":/res/loader.gif" << 16 << 48;
        QTest::newRow("minimize") << ":/res/minimize.svg" << 16 << 48;
        QTest::newRow("maximize") << ":/res/maximize.svg" << 16 << 48;
        QTest::newRow("restore down") << ":/res/restore_down.svg" << 16 << 48;
        QTest::newRow("close") << ":/res/close.svg" << 16 << 48;
    }

    void images()
    {
        QFETCH(QString, resource);
        QFETCH(int, minHeight);
        QFETCH(int, maxHeight);
        QImageReader reader(resource);
        const QImage image = reader.read();
        QVERIFY2(!image.isNull(), qPrintable(resource + ": " + reader.errorString()));
        QVERIFY(image.height() >= minHeight && image.height() <= maxHeight);
        QVERIFY(image.hasAlphaChannel());
    }

    void loaderAnimates()
    {
        QMovie movie(":/res/loader.gif");
        QVERIFY(movie.isValid());
        QVERIFY(movie.frameCount() > 4);
        QImageReader reader(":/res/loader.gif");
        QList<QImage> frames;
        for (QImage frame = reader.read(); !frame.isNull(); frame = reader.read()) {
            frames.append(frame);
            QVERIFY(reader.nextImageDelay() > 0 && reader.nextImageDelay() <= 150);
        }
        QCOMPARE(frames.size(), movie.frameCount());
        QVERIFY(frames.at(frames.size() / 2) != frames.first());
    }
};

QTEST_MAIN(TestResources)
#include "tst_resources.moc"
