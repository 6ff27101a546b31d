#include "jobs/soft_wrap.h"

#include <QtTest>

using CvJobs::softWrap;

namespace {
// Writes the expectation with '|' standing for a zero-width space, so the table stays readable.
QString zw(QString text)
{
    return text.replace('|', CvJobs::ZeroWidthSpace);
}
} // namespace

class TestSoftWrap : public QObject {
    Q_OBJECT

private slots:
    void wrap_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<int>("chunk");
        QTest::addColumn<QString>("expected");

        QTest::newRow("empty") << "" << 10 << "";
        QTest::newRow("short word") << "abc" << 10 << "abc";
        QTest::newRow("exactly one chunk") << "abcdefghij" << 10 << "abcdefghij";
        QTest::newRow("one over") << "abcdefghijk" << 10 << zw("abcdefghij|k");
        QTest::newRow("25 characters") << "ABCDEFGHIJKLMNOPQRSTUVWXY" << 10
                                       << zw("ABCDEFGHIJ|KLMNOPQRST|UVWXY");
        QTest::newRow("two full chunks get no trailing mark") << "abcdefghijKLMNOPQRST" << 10
                                                              << zw("abcdefghij|KLMNOPQRST");
        QTest::newRow("short words with blanks stay") << "Quarterly backup of finance" << 10
                                                      << "Quarterly backup of finance";
        QTest::newRow("blank ends a piece") << "abcdefghi abcdefghi" << 10 << "abcdefghi abcdefghi";
        QTest::newRow("long word after blank") << "job verylongtokenvalue" << 10 << zw("job verylongto|kenvalue");
        QTest::newRow("backslash gets a mark") << "C:\\Temp" << 10 << zw("C:\\|Temp");
        // The mark after a backslash starts the next piece and counts towards its length.
        QTest::newRow("long folder after backslash") << "D:\\RecoveryMount" << 10 << zw("D:\\|RecoveryM|ount");
        QTest::newRow("slash ends a piece but gets no mark") << "abc/defghijklmnop" << 10 << zw("abc/defghijklm|nop");
        QTest::newRow("slash splits long words") << "abcdefghi/abcdefghi" << 10 << "abcdefghi/abcdefghi";
        QTest::newRow("backslash then slash") << "a\\/b" << 10 << zw("a\\|/b");
        QTest::newRow("unc path") << "\\\\nas01\\cache" << 10 << zw("\\|\\|nas01\\|cache");
        QTest::newRow("non-latin counts characters") << QString::fromUtf8("Überprüfungsläufe") << 10
                                                     << zw(QString::fromUtf8("Überprüfun|gsläufe"));
        QTest::newRow("chunk of three") << "abcdefg" << 3 << zw("abc|def|g");
    }

    void wrap()
    {
        QFETCH(QString, input);
        QFETCH(int, chunk);
        QFETCH(QString, expected);
        QCOMPARE(softWrap(input, chunk), expected);
        QString withoutMarks = softWrap(input, chunk);
        withoutMarks.remove(CvJobs::ZeroWidthSpace);
        QCOMPARE(withoutMarks, input);
    }
};

QTEST_APPLESS_MAIN(TestSoftWrap)
#include "tst_soft_wrap.moc"
