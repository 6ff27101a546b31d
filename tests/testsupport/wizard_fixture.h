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

class QAbstractItemModel;
class QAbstractItemView;
class QWidget;
namespace Corvel {
class RecoveryWizardPage;
}

using CorvelTest::applyConsoleLook;

// "title: text" of every message box shown since the last MessageBox::clearShown().
QStringList shownBoxes();

// Clicks a widget's centre like a mouse would.
void clickOn(QWidget* widget);
// The texts of a list or combo box, top to bottom.
QStringList itemTexts(const QAbstractItemModel* model);
// Makes row `row` of a list view current, as a click would.
void chooseRow(QAbstractItemView* view, int row);
// The child of the current page with this object name and text (any text when empty).
template <typename T> T* findOnPage(Corvel::RecoveryWizardPage* page, const QString& text);

// A wizard over a fake cloud and a fake service with a small realistic tree: partner 7 with three
// clients; client 101 with two data sources; data source 11 with two devices, 12 with the id 0.
struct WizardFixture {
    explicit WizardFixture(const QString& token, QJsonObject config = {});

    // Service manager whose "vmms" is running or not.
    static std::shared_ptr<CorvelPlatform::ServiceControl> hyperV(bool running);

    // Over `cloudApi` (the fake cloud unless given); a new sign-in takes its token from tokenSource.
    Corvel::RecoveryWizardContext context(VuskAPI::CloudApi* cloudApi = nullptr);
    // What the pages' models get, for models tested without their pages.
    Corvel::PageContext pageContext();
    std::unique_ptr<Corvel::RecoveryWizard> makeWizard(bool hyperVRunning = true);

    // Each step does what an operator does on the current page to move on, and waits for the
    // next page; false (with the reason in `failure`) when that did not happen.
    bool chooseTile(Corvel::RecoveryWizard& wizard, const QString& caption);
    bool passDataSource(Corvel::RecoveryWizard& wizard);
    bool passRecoveryPoint(Corvel::RecoveryWizard& wizard);
    bool passDisks(Corvel::RecoveryWizard& wizard);
    bool passLocalCache(Corvel::RecoveryWizard& wizard);
    bool passVmSettings(Corvel::RecoveryWizard& wizard, const QString& name = "FS-01 test");
    bool passDiskOptions(Corvel::RecoveryWizard& wizard);
    bool pressButton(Corvel::RecoveryWizard& wizard, const QString& text);
    // The last page's start button: the wizard closes accepted.
    bool finish(Corvel::RecoveryWizard& wizard);
    QString failure;

    CorvelWidgets::IconFont iconFont{"velmora-iconfont", {}};
    TmxAuth::AuthSession session;
    Corvel::Settings settings;
    std::shared_ptr<CorvelTest::FakeService> service = std::make_shared<CorvelTest::FakeService>();
    // Where the wizard's workers get their clients: the fake service unless set.
    CorvelService::ServiceConnection::Factory serviceFactory;
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

template <typename T> T* findOnPage(Corvel::RecoveryWizardPage* page, const QString& text)
{
    for (T* candidate : reinterpret_cast<QObject*>(page)->findChildren<T*>())
        if (text.isEmpty() || candidate->property("text").toString() == text || candidate->accessibleName() == text)
            return candidate;
    return nullptr;
}
