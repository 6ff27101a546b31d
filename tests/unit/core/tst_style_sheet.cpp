#include "core/style_sheet.h"
#include "testsupport/log_capture.h"

#include <QtTest>

using namespace Corvel;
using CorvelTest::LogCapture;

class TestStyleSheet : public QObject {
    Q_OBJECT

private slots:
    // Literal lengths are scaled first, then the variables filled in, as the console loads its sheet.
    void scaled_data()
    {
        QTest::addColumn<QString>("sheet");
        QTest::addColumn<double>("scale");
        QTest::addColumn<QString>("expected");
        QTest::newRow("22 at 192 dpi") << "icon-size: $job_label_icon_size;" << 2.0 << "icon-size: 44px ;";
        QTest::newRow("two numbers") << "icon-size: $pair;" << 1.0 << "icon-size: 26px 28px ;";
        QTest::newRow("variable half rounds up") << "w: $odd;" << 1.5 << "w: 32px ;";
        QTest::newRow("text value") << "color: $grey; border: 1px solid $ash;" << 1.0
                                    << "color: #878C96; border: 1px solid #C2C5CA;";
        QTest::newRow("literal half rounds up")
            << "border: 1px solid; height: 48px;" << 1.5 << "border: 2px solid; height: 72px;";
        QTest::newRow("negative offset") << "right: -6px;" << 1.5 << "right: -9px;";
        QTest::newRow("points, fractions and names untouched")
            << "font-size: 10pt; w: 1.5px; c: $a2px;" << 2.0 << "font-size: 10pt; w: 1.5px; c: #A2;";
        QTest::newRow("not a unit") << "url(:/res/16pxfoo.svg) 12pxx" << 2.0 << "url(:/res/16pxfoo.svg) 12pxx";
    }

    void scaled()
    {
        QFETCH(QString, sheet);
        QFETCH(double, scale);
        QFETCH(QString, expected);
        const TextVariables texts = {{"$grey", "#878C96"}, {"$ash", "#C2C5CA"}, {"$a2px", "#A2"}};
        const SizeVariables sizes = {{"$job_label_icon_size", {22}}, {"$pair", {26, 28}}, {"$odd", {21}}};
        LogCapture log;
        QCOMPARE(processStyleSheet(scaleLengths(sheet, scale), scale, texts, sizes), expected);
        QCOMPARE(log.texts(), QStringList());
    }

    void diagnostics()
    {
        LogCapture log;
        const QString out = processStyleSheet("a { color: $grey; }\nb { color: $unknown_colour; }\n", 1.0,
                                              {{"$grey", "#878C96"}, {"grey", "x"}, {"$same", "x"}}, {{"$same", {1}}});
        QCOMPARE(out, QString("a { color: #878C96; }\nb { color: $unknown_colour; }\n"));
        QCOMPARE(log.texts(), (QStringList{"Var \"grey\" has wrong name", "Var \"$same\" has several descriptions",
                                           "Undefined var $unkn... in line: b { color: $unknown_colour; }"}));
        for (const auto& entry : log.entries())
            QCOMPARE(entry.type, QtInfoMsg);
    }
};

QTEST_GUILESS_MAIN(TestStyleSheet)
#include "tst_style_sheet.moc"
