#include "testsupport/wizard_fixture.h"

#include "auth/sign_in_flows.h"
#include "widgets/cv_wizard_button.h"
#include "widgets/message_box.h"
#include "wizard/recovery_wizard_page.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QListView>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include <algorithm>

using namespace CorvelService;

namespace {

class FakeServiceControl : public CorvelPlatform::ServiceControl {
public:
    explicit FakeServiceControl(bool running)
        : m_running(running)
    {
    }
    CorvelPlatform::ServiceHandle openManager() override { return 1; }
    CorvelPlatform::ServiceHandle openService(CorvelPlatform::ServiceHandle, const std::string&) override { return 2; }
    bool queryState(CorvelPlatform::ServiceHandle, unsigned long& state) override
    {
        state = m_running ? Running : Stopped;
        return true;
    }
    bool startService(CorvelPlatform::ServiceHandle) override { return false; }
    void closeHandle(CorvelPlatform::ServiceHandle) override {}
    unsigned long lastError() const override { return 0; }

private:
    bool m_running;
};

DiskInfo disk(const std::string& name, bool system, DiskStyle::type style, std::vector<int64_t> sizes)
{
    DiskInfo info;
    info.name = name;
    info.is_system = system;
    info.style = style;
    for (int64_t size : sizes) {
        DiskVolumeInfo volume;
        volume.size = size;
        info.volumes.push_back(volume);
    }
    return info;
}

} // namespace

WizardFixture::WizardFixture(const QString& token, QJsonObject config)
    : session(token)
    , settings(std::move(config))
    , connection([this]() -> CorvelService::ServiceConnection::Client { return service; })
{
    cloud.clients = {{101, "northwind", "Northwind Ltd"},
                     {102, "Harbourside", "Harbourside Clinic"},
                     {103, "quarry", "ABbey Quarry & Sons"},
                     {104, "tabby", "Tabby Cats"}};
    cloud.dataSources[101] = {{11, "FS-01 file server", "https://ds11", "S-11", "server"},
                              {12, "Lab machines", "https://ds12", "S-12", "workstation"}};
    cloud.devices[11] = {{1001, "FS-01"}, {1002, "SQL-02"}};
    cloud.devices[12] = {{0, "UNREGISTERED"}};
    cloud.passphrases[1001] = "amber-falcon-42";
    service->restorePoints["device-token-1001-11"] = {"2026_03_02_09_05_00", "2026_03_02_17_30_00",
                                                      "not-a-restore-point", "2026_02_27_22_00_00"};
    const int64_t gib = 1073741824;
    service->metadata["2026_03_02_17_30_00"] = {disk("disk-0", true, DiskStyle::GPT, {500 * 1048576ll, 120 * gib}),
                                                disk("disk-1", false, DiskStyle::MBR, {2 * gib})};
    service->networks.resize(2);
    service->networks[0].name = "Default Switch";
    service->networks[1].name = "LAN";
}

std::shared_ptr<CorvelPlatform::ServiceControl> WizardFixture::hyperV(bool running)
{
    return std::make_shared<FakeServiceControl>(running);
}

Corvel::RecoveryWizardContext WizardFixture::context(VuskAPI::CloudApi* cloudApi)
{
    return {session,
            settings,
            connection,
            cloudApi ? *cloudApi : cloud,
            *serviceControl,
            [this](QWidget* parent) {
                return TmxAuth::reSignInAfterTimeout(session, settings.authUrl(), parent, tokenSource) == 0;
            },
            &TmxAuth::showRequestError,
            [this](const std::string& path, const std::string&, const std::string&, const std::string& passphrase,
                   std::string& reason) {
                cacheChecks.append({QString::fromStdString(path), QString::fromStdString(passphrase)});
                reason = cacheReason;
                return cacheResult;
            },
            callLimitMs};
}

Corvel::PageContext WizardFixture::pageContext()
{
    return {session,
            settings,
            cloud,
            connection,
            [] { return false; },
            [](const VuskAPI::RequestError& error) { TmxAuth::showRequestError(nullptr, error); },
            context().localCacheCheck,
            callLimitMs};
}

std::unique_ptr<Corvel::RecoveryWizard> WizardFixture::makeWizard(bool hyperVRunning)
{
    serviceControl = hyperV(hyperVRunning);
    auto wizard = std::make_unique<Corvel::RecoveryWizard>(nullptr, iconFont, context());
    wizard->show();
    return wizard;
}

QStringList shownBoxes()
{
    QStringList shown;
    for (const auto& box : CorvelWidgets::MessageBox::shown())
        shown << box.title + ": " + box.text;
    return shown;
}

void clickOn(QWidget* widget)
{
    // A check box or radio button reacts on its indicator and text only, and rows are often wider.
    const bool indicator = qobject_cast<QCheckBox*>(widget) || qobject_cast<QRadioButton*>(widget);
    QTest::mouseClick(widget, Qt::LeftButton, {},
                      indicator ? QPoint(8, widget->height() / 2) : widget->rect().center());
}

bool WizardFixture::pressButton(Corvel::RecoveryWizard& wizard, const QString& text)
{
    Corvel::RecoveryWizardPage* page = wizard.currentPage();
    QPushButton* button = nullptr;
    if (!QTest::qWaitFor([&] {
            button = findOnPage<QPushButton>(page, text);
            return button && button->isEnabled() && button->isVisible();
        })) {
        failure = "no enabled button \"" + text + "\" on page " + page->title();
        return false;
    }
    const int before = wizard.history().size();
    clickOn(button);
    if (!QTest::qWaitFor([&] { return wizard.history().size() != before || !wizard.isVisible(); }, 2000)) {
        failure = "\"" + text + "\" on " + page->title() + " went nowhere";
        return false;
    }
    return true;
}

bool WizardFixture::step(Corvel::RecoveryWizard& wizard, const QStringList& tiles)
{
    Corvel::RecoveryWizardPage* page = wizard.currentPage();
    switch (wizard.history().last()) {
    case Corvel::RecoveryType:
    case Corvel::VirtualDiskType:
    case Corvel::VirtualizationType:
        for (const QString& caption : tiles)
            if (auto* tile = findOnPage<CorvelWidgets::CvWizardButton>(page, caption)) {
                const int before = wizard.history().size();
                clickOn(tile);
                if (wizard.history().size() == before + 1)
                    return true;
            }
        failure = "no tile of " + tiles.join(", ") + " leads on from " + page->title();
        return false;
    case Corvel::RecoveryDataSource:
        if (session.userData().role == TmxAuth::UserRole::Partner) {
            auto* list = findOnPage<QListView>(page, "RESULTS:");
            if (!list || !QTest::qWaitFor([&] { return list->model()->rowCount() > 0; })) {
                failure = "no clients listed";
                return false;
            }
            list->setCurrentIndex(list->model()->index(0, 0));
        }
        break;
    case Corvel::RecoveryPoint: {
        auto* times = findOnPage<QListWidget>(page, "SNAPSHOT TIME:");
        if (!times || !QTest::qWaitFor([&] { return times->count() > 0; })) {
            failure = "no restore point times listed";
            return false;
        }
        QListWidgetItem* last = times->item(times->count() - 1);
        times->scrollToItem(last);
        QTest::mouseClick(times->viewport(), Qt::LeftButton, {}, times->visualItemRect(last).center());
        if (times->currentItem() != last)
            times->setCurrentItem(last);
        break;
    }
    case Corvel::VmSettings:
        if (auto* name = findOnPage<QLineEdit>(page, "NAME:")) {
            name->setFocus();
            QTest::keyClicks(name, vmName);
        }
        break;
    case Corvel::VirtualDiskOptions: {
        // A generation 2 machine comes with VHDX checked; for generation 1 the operator picks.
        const auto formats = page->findChildren<QRadioButton*>();
        if (std::none_of(formats.begin(), formats.end(), [](QRadioButton* button) { return button->isChecked(); }))
            clickOn(findOnPage<QRadioButton>(page, "VHDX"));
        break;
    }
    default:
        break;
    }
    return pressButton(wizard, "Next");
}

bool WizardFixture::walk(Corvel::RecoveryWizard& wizard, const QStringList& tiles, Corvel::WizardPage until)
{
    while (wizard.history().value(wizard.history().size() - 1, -1) != until)
        if (wizard.history().isEmpty() || !step(wizard, tiles))
            return false;
    return true;
}

bool WizardFixture::finish(Corvel::RecoveryWizard& wizard)
{
    auto* start = wizard.currentPage()->findChild<QPushButton*>("button_primary");
    failure = "no start button on " + wizard.currentPage()->title();
    if (!start || !pressButton(wizard, start->text()))
        return false;
    failure = "the wizard stayed open";
    return QTest::qWaitFor([&] { return !wizard.isVisible(); }, 2000) && wizard.result() == QDialog::Accepted;
}
