#include "jobs/job_columns.h"
#include "jobs/soft_wrap.h"

#include <QtTest>

class TestSoftWrap : public QObject {
    Q_OBJECT

private slots:
    void wrap_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<int>("chunk");
        QTest::addColumn<QString>("expected"); // '|' stands for a zero-width space

        QTest::newRow("empty") << "" << 10 << "";
        QTest::newRow("one over") << "abcdefghijk" << 10 << "abcdefghij|k";
        QTest::newRow("25 characters") << "ABCDEFGHIJKLMNOPQRSTUVWXY" << 10 << "ABCDEFGHIJ|KLMNOPQRST|UVWXY";
        QTest::newRow("two full chunks, no trailing mark") << "abcdefghijKLMNOPQRST" << 10 << "abcdefghij|KLMNOPQRST";
        QTest::newRow("blanks end pieces") << "job verylongtokenvalue" << 10 << "job verylongto|kenvalue";
        // The mark after a backslash starts the next piece and counts towards its length.
        QTest::newRow("backslash") << "D:\\RecoveryMount" << 10 << "D:\\|RecoveryM|ount";
        QTest::newRow("slash ends a piece, no mark") << "abc/defghijklmnop" << 10 << "abc/defghijklm|nop";
        QTest::newRow("unc path") << "\\\\nas01\\cache" << 10 << "\\|\\|nas01\\|cache";
        QTest::newRow("counts characters, not bytes")
            << QString::fromUtf8("Überprüfungsläufe") << 10 << QString::fromUtf8("Überprüfun|gsläufe");
    }

    void wrap()
    {
        QFETCH(QString, input);
        QFETCH(int, chunk);
        QFETCH(QString, expected);
        QCOMPARE(CvJobs::softWrap(input, chunk), expected.replace('|', CvJobs::ZeroWidthSpace));
    }

    void bounded()
    {
        const QString longest(CvJobs::MaxShownCharacters, 'x');
        QCOMPARE(CvJobs::boundedText(longest), longest);
        QCOMPARE(CvJobs::boundedText(longest + 'y'), longest + QChar(0x2026));
    }

    // The table's columns: a wide minimum is kept, the rest share alike, the odd pixels going left,
    // and together they fill the width exactly.
    void columns()
    {
        CvJobs::JobColumns columns;
        columns.setFloor(2, 300);
        const auto widths = [&](int width) {
            QStringList shown;
            const auto spans = columns.spans(width + 7 * CvJobs::JobColumns::Spacing);
            for (const auto& span : spans)
                shown << QString::number(span.width);
            return shown.join(' ') + " ends " + QString::number(spans[7].x + spans[7].width - width);
        };
        const QString spacing = " ends " + QString::number(7 * CvJobs::JobColumns::Spacing);
        QCOMPARE(widths(1000), "100 100 300 100 100 100 100 100" + spacing);
        QCOMPARE(widths(1003), "101 101 300 101 100 100 100 100" + spacing);
    }
};

QTEST_APPLESS_MAIN(TestSoftWrap)
#include "tst_soft_wrap.moc"
