#include "jobs/jobs_texts.h"

#include <QtTest>

// The texts operators, scripts and log readers rely on, letter for letter (odd spellings included):
// a "fix" of one of them breaks what they look for.
class TestFixedTexts : public QObject {
    Q_OBJECT

private slots:
    void pinned_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        namespace J = CvJobs::Texts;
        const QList<QPair<const char*, QString>> rows{
            {J::NoActiveJobs, "No Active Jobs"},
            {J::Captions[0], "JOB TYPE"},
            {J::Captions[4], "RECOVERY POINT"},
            {J::Captions[7], "ACTION"},
            {J::NoValue, "none"},
            {J::FileRecovery, "File Recovery"},
            {J::Unknown, "unknown"},
            {J::PleaseWait, "Please wait"},
            {J::DeleteJob, "Delete Job"},
            {J::OnDeleteJob, "onDeleteJob"},
            {J::AskAboutVm, "Ask user about VM deletion."},
            {J::DeleteVm, "Delete VM during job deletion."},
            {J::KeepVm, "Keep VM."},
            {J::AbortDeletion, "Abort job deletion."},
            {J::DeleteVmQuestion, "Delete Virtual Machine Created by this job?<br>This will destroy any data changes "
                                  "made to the virtual machine while<br>running during recovery!"},
            {J::DeleteVmYes, "YES - Delete this virtual machine from the Hyper-V host"},
            {J::ConfirmKeep, "No - Keep Virtual Machine"},
            {J::AreYouSure, "ARE YOU SURE?"},
            {J::ExportStarted, "Export Recovery Started!"},
            {J::StartedSubHeading, "<b>Review Job Status in the Recovery Jobs Table</b>"},
        };
        for (const auto& [text, expected] : rows)
            QTest::newRow(qPrintable(expected.left(40))) << QString::fromLatin1(text) << expected;
        QCOMPARE(int(std::size(J::Captions)), 8);
    }

    void pinned()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(text, expected);
    }
};

QTEST_GUILESS_MAIN(TestFixedTexts)
#include "tst_fixed_texts.moc"
