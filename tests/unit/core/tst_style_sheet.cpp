#include "core/style_sheet.h"
#include "testsupport/log_capture.h"

#include <QtTest>

using namespace Corvel;
using CorvelTest::LogCapture;

class TestStyleSheet : public QObject {
    Q_OBJECT

private slots:
    void sizes_data()
    {
        QTest::addColumn<QString>("sheet");
        QTest::addColumn<double>("scale");
        QTest::addColumn<QString>("expected");
        QTest::newRow("22 at 192 dpi") << "icon-size: $job_label_icon_size;" << 2.0 << "icon-size: 44px ;";
        QTest::newRow("26 at 144 dpi") << "w: $tab;" << 1.5 << "w: 39px ;";
        QTest::newRow("two numbers") << "icon-size: $pair;" << 1.0 << "icon-size: 26px 28px ;";
        QTest::newRow("half rounds up") << "w: $odd;" << 1.5 << "w: 32px ;";
        QTest::newRow("text value") << "color: $grey; border: 1px solid $ash;" << 1.0
                                    << "color: #878C96; border: 1px solid #C2C5CA;";
    }

    void sizes()
    {
        QFETCH(QString, sheet);
        QFETCH(double, scale);
        QFETCH(QString, expected);
        const TextVariables texts = {{"$grey", "#878C96"}, {"$ash", "#C2C5CA"}};
        const SizeVariables sizes = {
            {"$job_label_icon_size", {22}}, {"$tab", {26}}, {"$pair", {26, 28}}, {"$odd", {21}}};
        LogCapture log;
        QCOMPARE(processStyleSheet(sheet, scale, texts, sizes), expected);
        QVERIFY(log.entries().isEmpty());
    }

    void literalLengths_data()
    {
        QTest::addColumn<QString>("sheet");
        QTest::addColumn<double>("scale");
        QTest::addColumn<QString>("expected");
        QTest::newRow("unchanged at 100 %")
            << "min-width: 210px; border: 1px solid;" << 1.0 << "min-width: 210px; border: 1px solid;";
        QTest::newRow("150 %, half rounds up")
            << "border: 1px solid; height: 48px;" << 1.5 << "border: 2px solid; height: 72px;";
        QTest::newRow("200 %, several on a line") << "padding: 5px 16px;" << 2.0 << "padding: 10px 32px;";
        QTest::newRow("negative offset") << "right: -6px;" << 1.5 << "right: -9px;";
        QTest::newRow("variables, points and fractions untouched")
            << "icon-size: $buttons_icon_size; font-size: 10pt; w: 1.5px; $a2px" << 2.0
            << "icon-size: $buttons_icon_size; font-size: 10pt; w: 1.5px; $a2px";
        QTest::newRow("not a unit") << "url(:/res/16pxfoo.svg) 12pxx" << 2.0 << "url(:/res/16pxfoo.svg) 12pxx";
    }

    void literalLengths()
    {
        QFETCH(QString, sheet);
        QFETCH(double, scale);
        QFETCH(QString, expected);
        QCOMPARE(scaleLengths(sheet, scale), expected);
    }

    void undefinedVariableKeepsTextAndLogsOnce()
    {
        LogCapture log;
        const QString out =
            processStyleSheet("a { color: $grey; }\nb { color: $unknown_colour; }\n", 1.0, {{"$grey", "#878C96"}}, {});
        QCOMPARE(out, QString("a { color: #878C96; }\nb { color: $unknown_colour; }\n"));
        QCOMPARE(log.entries().size(), 1);
        QCOMPARE(log.entries().first().type, QtInfoMsg);
        QCOMPARE(log.entries().first().text, QString("Undefined var $unkn... in line: b { color: $unknown_colour; }"));
    }

    void tableDiagnostics()
    {
        LogCapture log;
        processStyleSheet("", 1.0, {{"grey", "#878C96"}, {"$same", "x"}}, {{"$same", {1}}});
        QVERIFY(log.contains(QtInfoMsg, "Var \"grey\" has wrong name"));
        QVERIFY(log.contains(QtInfoMsg, "Var \"$same\" has several descriptions"));
        QCOMPARE(log.entries().size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestStyleSheet)
#include "tst_style_sheet.moc"
