#pragma once

#include "cloud/token_source.h"
#include "core/settings.h"
#include "platform/platform.h"
#include "service/service_connection.h"
#include "session/auth_session.h"
#include "testsupport/console_look.h"
#include "testsupport/fake_cloud.h"
#include "testsupport/fake_service.h"
#include "widgets/icon_font.h"
#include "wizard/recovery_wizard.h"

#include <QJsonObject>

#include <memory>

namespace Corvel {
class RecoveryWizardPage;
}

using CorvelTest::applyConsoleLook;

// "title: text" of every message box shown since the last MessageBox::clearShown().
QStringList shownBoxes();

// Clicks a widget's centre like a mouse would.
void clickOn(QWidget* widget);
// The child of the current page with this text or accessible name (any when empty).
template <typename T> T* findOnPage(Corvel::RecoveryWizardPage* page, const QString& text)
{
    for (T* candidate : reinterpret_cast<QObject*>(page)->findChildren<T*>())
        if (text.isEmpty() || candidate->property("text").toString() == text || candidate->accessibleName() == text)
            return candidate;
    return nullptr;
}

// A wizard over a fake cloud and a fake service: four clients; client 101 with data sources 11 (two
// devices) and 12 (the id 0). Each step does what an operator does to move on (the tile of `tiles`
// shown, the first client, the last time listed, the name vmName, VHDX) and waits for the next
// page; false (with the reason in `failure`) when that did not happen.
struct WizardFixture {
    explicit WizardFixture(const QString& token, QJsonObject config = {});

    // Service manager whose "vmms" is running or not.
    static std::shared_ptr<CorvelPlatform::ServiceControl> hyperV(bool running);

    // Over `cloudApi` (the fake cloud unless given); a new sign-in takes its token from tokenSource.
    Corvel::RecoveryWizardContext context(VuskAPI::CloudApi* cloudApi = nullptr);
    // What the pages' models get, for models tested without their pages.
    Corvel::PageContext pageContext();
    // A shown wizard.
    std::unique_ptr<Corvel::RecoveryWizard> makeWizard(bool hyperVRunning = true);

    bool step(Corvel::RecoveryWizard& wizard, const QStringList& tiles);
    bool walk(Corvel::RecoveryWizard& wizard, const QStringList& tiles, Corvel::WizardPage until);
    bool pressButton(Corvel::RecoveryWizard& wizard, const QString& text);
    bool finish(Corvel::RecoveryWizard& wizard);
    QString failure;
    QString vmName = "FS-01 test";

    CorvelWidgets::IconFont iconFont{"velmora-iconfont", {}};
    TmxAuth::AuthSession session;
    Corvel::Settings settings;
    std::shared_ptr<CorvelTest::FakeService> service = std::make_shared<CorvelTest::FakeService>();
    CorvelService::ServiceConnection connection;
    CorvelTest::FakeCloud cloud;
    // checkLocalCache's answers: (path, passphrase) of each check; every check gives cacheResult
    // with cacheReason.
    QList<QStringList> cacheChecks;
    std::int32_t cacheResult = 0;
    std::string cacheReason;
    TmxAuth::TokenSource tokenSource = [](const QString&, const QString&, QWidget*) -> std::optional<QString> {
        return QString();
    };
    int callLimitMs = Corvel::RecoveryWizard::ServiceCallLimitMs;
    std::shared_ptr<CorvelPlatform::ServiceControl> serviceControl = hyperV(true);
};
