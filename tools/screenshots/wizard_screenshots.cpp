// Walks every page of the wizard with the console's look and saves one PNG per page, so a
// developer can look at them: wizard_screenshots OUTPUT_FOLDER [partner|client]
#include "testsupport/wizard_fixture.h"

#include "jobs/job_started_window.h"
#include "testsupport/test_tokens.h"
#include "wizard/recovery_wizard_page.h"
#include "wizard/resizable_stacked_widget.h"

#include <QApplication>
#include <QDir>
#include <QPixmap>
#include <QTest>

#include <cstdio>

namespace {

QString g_folder;
int g_count = 0;

void shoot(QWidget& window, const QString& name)
{
    QTest::qWait(150);
    QApplication::processEvents();
    const QString file = QDir(g_folder).filePath(QString("%1-%2.png").arg(++g_count, 2, 10, QChar('0')).arg(name));
    window.grab().save(file);
    std::printf("%s\n", qPrintable(file));
}

bool walk(WizardFixture& fixture, const QString& kind, const QString& prefix)
{
    auto wizard = fixture.makeWizard();
    wizard->show();
    (void)QTest::qWaitForWindowExposed(wizard.get());
    if (kind == "Virtualize (Hyper-V)")
        shoot(*wizard, prefix + "recovery-type");
    // One picture of every page the operator reaches, named by its title.
    const QStringList tiles{kind, "VHDX - Hyper-V (Generation 2)", "Make it a Test"};
    for (;;) {
        if (!fixture.step(*wizard, tiles)) {
            std::fprintf(stderr, "%s: %s\n", qPrintable(kind), qPrintable(fixture.failure));
            return false;
        }
        shoot(*wizard, prefix + wizard->currentPage()->title().toLower().replace(' ', '-'));
        if (kind == "Bare Metal Restore" || wizard->history().last() == Corvel::FileRecoverSettings)
            return true;
    }
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: wizard_screenshots OUTPUT_FOLDER [partner|client]\n");
        return 64;
    }
    g_folder = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(g_folder);
    const bool client = argc > 2 && QString(argv[2]) == "client";
    const CorvelWidgets::IconFont iconFont = applyConsoleLook();
    bool ok = true;
    for (const char* kind : {"Virtualize (Hyper-V)", "Virtual Disk Export", "Recover Files", "Bare Metal Restore"}) {
        WizardFixture fixture(client ? clientToken() : partnerToken());
        fixture.iconFont = iconFont;
        ok = walk(fixture, kind, QString(kind).section(' ', 0, 0).toLower() + "-") && ok;
    }
    WizardFixture fixture(partnerToken());
    fixture.iconFont = iconFont;
    auto wizard = fixture.makeWizard(false);
    wizard->show();
    shoot(*wizard, "recovery-type-without-hyper-v");
    CvJobs::JobStartedWindow started(iconFont, nullptr, CorvelService::JobType::FileRecovery);
    started.show();
    shoot(started, "job-started");
    return ok ? 0 : 1;
}
