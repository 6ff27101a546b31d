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
};

QTEST_APPLESS_MAIN(TestSoftWrap)
#include "tst_soft_wrap.moc"
