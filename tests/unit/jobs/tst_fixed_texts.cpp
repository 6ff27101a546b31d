#include "app/app_texts.h"
#include "auth/auth_texts.h"
#include "cloud/cloud_texts.h"
#include "core/core_texts.h"
#include "jobs/jobs_texts.h"
#include "session/session_texts.h"
#include "ui/ui_texts.h"
#include "updater/updater_texts.h"
#include "widgets/widgets_texts.h"
#include "wizard/wizard_texts.h"

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
            {J::ExportStarted, "Export Recovery Started!"},
            {J::StartedSubHeading, "<b>Review Job Status in the Recovery Jobs Table</b>"},
            {Corvel::UiTexts::StartingWizard, "Starting Recozery wizard."},
            {Corvel::AppTexts::LoggingInitialized, "Logging intialized."},
            {Corvel::AppTexts::IconFontFailed, "Failed to initialze icon-font. Corvel will be closed"},
            {Corvel::AppTexts::QueryStatusFailed, " QueryServiceStatusEx failed. Error="},
            {Corvel::AppTexts::ServicesFailed,
             "Failed to connect to services. Please make sure that Microsoft iSCSI Initiator Service, Tolvex Virtual "
             "Disk Service and Tolvex Corvel Service are installed and running"},
            {TmxAuth::SessionTexts::ClientRole, "cliend_id is presented, user role detected as Client."},
            {TmxAuth::SessionTexts::AdminRole,
             "cliend_id or reseller_id is not presented, user role detected as VelmoraAdmin."},
            {TmxAuth::SessionTexts::EmptyPayload, "Token payload is empty."},
            {TmxAuth::AuthTexts::TimedOutLog, "Authentication Error Your session has timed out. Please login again."},
            {TmxAuth::AuthTexts::InvalidTokenLog, "Failed to parse CV token. Corvel will be closed."},
            {TmxAuth::AuthTexts::CheckConnection, "\nPlease check your internet connection and try again"},
            {VuskAPI::CloudTexts::AttemptsExhausted, "Retrying attempts has been exhausted"},
            {VuskAPI::CloudTexts::ReturnedError, " returned error: type - "},
            {VuskAPI::CloudTexts::TokenFailed, "Request for token failed. Error: "},
            {CVUpdater::UpdaterTexts::WrongXml, "Wrong xml format"},
            {Corvel::CoreTexts::NoValueAtKey, "Failed to get value at key "},
            {Corvel::CoreTexts::VmmsHandleFailed,
             "failed to get handle to Hyper-V Virtual Machine Management service. Error="},
            {CorvelWidgets::WidgetsTexts::ShareUsername, "NETWORK SHARE USERNAME:"},
            {CorvelWidgets::WidgetsTexts::Location, "LOCATION:"},
            {Corvel::WizardTexts::RestorePointsTitle, "Retrieveing restore points"},
            {Corvel::WizardTexts::CacheUnreachable,
             "Error, cannot access the path specified for the Local Cache repository.  Check permissions."},
            {Corvel::WizardTexts::DiscardQuestion, "Discard this recovery?"},
        };
        for (const auto& [text, expected] : rows)
            QTest::newRow(qPrintable(expected.trimmed().left(40))) << QString::fromLatin1(text) << expected;
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
