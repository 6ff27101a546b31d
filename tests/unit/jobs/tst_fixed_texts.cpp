#include "app/app_texts.h"
#include "auth/auth_texts.h"
#include "cloud/cloud_texts.h"
#include "jobs/jobs_texts.h"
#include "session/session_texts.h"
#include "ui/ui_texts.h"
#include "widgets/widgets_texts.h"
#include "wizard/wizard_texts.h"

#include <QtTest>

// The texts operators, scripts and log readers rely on, letter for letter (odd spellings included):
// a "fix" of one of them breaks what they look for.
class TestFixedTexts : public QObject {
    Q_OBJECT

private slots:
    void pinned()
    {
        namespace J = CvJobs::Texts;
        const QList<QPair<const char*, QString>> rows{
            {J::Captions[0], "JOB TYPE"},
            {J::Captions[4], "RECOVERY POINT"},
            {J::Captions[7], "ACTION"},
            {J::NoValue, "none"},
            {J::Unknown, "unknown"},
            {J::OnDeleteJob, "onDeleteJob"},
            {J::AskAboutVm, "Ask user about VM deletion."},
            {J::DeleteVm, "Delete VM during job deletion."},
            {J::KeepVm, "Keep VM."},
            {J::AbortDeletion, "Abort job deletion."},
            {J::DeleteVmQuestion, "Delete Virtual Machine Created by this job?<br>This will destroy any data changes "
                                  "made to the virtual machine while<br>running during recovery!"},
            {J::AreYouSure, "ARE YOU SURE?"},
            {J::StartedSubHeading, "<b>Review Job Status in the Recovery Jobs Table</b>"},
            {Corvel::UiTexts::StartingWizard, "Starting Recozery wizard."},
            {Corvel::AppTexts::IconFontFailed, "Failed to initialze icon-font. Corvel will be closed"},
            {Corvel::AppTexts::QueryStatusFailed, " QueryServiceStatusEx failed. Error="},
            {Corvel::AppTexts::ServicesFailed,
             "Failed to connect to services. Please make sure that Microsoft iSCSI Initiator Service, Tolvex Virtual "
             "Disk Service and Tolvex Corvel Service are installed and running"},
            {TmxAuth::SessionTexts::AdminRole,
             "cliend_id or reseller_id is not presented, user role detected as VelmoraAdmin."},
            {TmxAuth::AuthTexts::TimedOutLog, "Authentication Error Your session has timed out. Please login again."},
            {VuskAPI::CloudTexts::ReturnedError, " returned error: type - "},
            {VuskAPI::CloudTexts::TokenFailed, "Request for token failed. Error: "},
            {CorvelWidgets::WidgetsTexts::ShareUsername, "NETWORK SHARE USERNAME:"},
        };
        for (const auto& [text, expected] : rows)
            QCOMPARE(QString::fromLatin1(text), expected);
        QCOMPARE(int(std::size(J::Captions)), 8);
    }
};

QTEST_GUILESS_MAIN(TestFixedTexts)
#include "tst_fixed_texts.moc"
