#include "testsupport/wizard_fixture.h"

#include "auth/sign_in_flows.h"
#include "core/style_sheet.h"
#include "widgets/cv_wizard_button.h"
#include "widgets/message_box.h"
#include "wizard/recovery_wizard_page.h"

#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QFontDatabase>
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
    , connection(
          [this]() -> CorvelService::ServiceConnection::Client { return serviceFactory ? serviceFactory() : service; })
{
    // No client yet: the first call makes it, with serviceFactory if a test has set one by then.
    cloud.clients = {{101, "northwind", "Northwind Ltd"},
                     {102, "Harbourside", "Harbourside Clinic"},
                     {103, "quarry", "ABbey Quarry & Sons"},
                     {104, "tabby", "Tabby Cats"}};
    cloud.dataSources[101] = {{11, "FS-01 file server", "https://ds11", "S-11", "server"},
                              {12, "Lab machines", "https://ds12", "S-12", "workstation"}};
    cloud.dataSources[102] = {{21, "Clinic server", "https://ds21", "S-21", "server"}};
    cloud.devices[11] = {{1001, "FS-01"}, {1002, "SQL-02"}};
    cloud.devices[12] = {{0, "UNREGISTERED"}};
    cloud.devices[21] = {{2101, "CLINIC-DC"}};
    cloud.passphrases[1001] = "amber-falcon-42";
    service->restorePoints["device-token-1001-11"] = {"2026_03_02_09_05_00", "2026_03_02_17_30_00",
                                                      "not-a-restore-point", "2026_02_27_22_00_00"};
    service->restorePoints["device-token-1002-11"] = {"2026_01_10_08_00_00"};
    const int64_t gib = 1073741824;
    service->metadata["2026_03_02_17_30_00"] = {disk("disk-0", true, DiskStyle::GPT, {500 * 1048576ll, 120 * gib}),
                                                disk("disk-1", false, DiskStyle::MBR, {2 * gib})};
    service->metadata["2026_03_02_09_05_00"] = {disk("disk-0", true, DiskStyle::MBR, {60 * gib})};
    service->networks.resize(2);
    service->networks[0].id = "n1";
    service->networks[0].name = "Default Switch";
    service->networks[1].id = "n2";
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
    return std::make_unique<Corvel::RecoveryWizard>(nullptr, iconFont, context());
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

QStringList itemTexts(const QAbstractItemModel* model)
{
    QStringList texts;
    for (int row = 0; model && row < model->rowCount(); ++row)
        texts << model->index(row, 0).data().toString();
    return texts;
}

void chooseRow(QAbstractItemView* view, int row)
{
    view->setCurrentIndex(view->model()->index(row, 0));
}

namespace {

bool waitFor(const std::function<bool()>& condition, int timeoutMs = 10000)
{
    return QTest::qWaitFor(condition, timeoutMs);
}

} // namespace

bool WizardFixture::pressButton(Corvel::RecoveryWizard& wizard, const QString& text)
{
    Corvel::RecoveryWizardPage* page = wizard.currentPage();
    QPushButton* button = nullptr;
    if (!waitFor([&] {
            button = findOnPage<QPushButton>(page, text);
            return button && button->isEnabled() && button->isVisible();
        })) {
        failure = "no enabled button \"" + text + "\" on page " + page->title();
        return false;
    }
    const int before = wizard.history().size();
    clickOn(button);
    if (!waitFor([&] { return wizard.history().size() != before || !wizard.isVisible(); }, 2000)) {
        failure = "\"" + text + "\" on " + page->title() + " went nowhere";
        return false;
    }
    return true;
}

bool WizardFixture::chooseTile(Corvel::RecoveryWizard& wizard, const QString& caption)
{
    auto* tile = findOnPage<CorvelWidgets::CvWizardButton>(wizard.currentPage(), caption);
    if (!tile) {
        failure = "no tile " + caption;
        return false;
    }
    const int before = wizard.history().size();
    clickOn(tile);
    return wizard.history().size() == before + 1;
}

bool WizardFixture::passDataSource(Corvel::RecoveryWizard& wizard)
{
    if (session.userData().role == TmxAuth::UserRole::Partner) {
        auto* list = findOnPage<QListView>(wizard.currentPage(), "RESULTS:");
        if (!list || !waitFor([&] { return list->model()->rowCount() > 0; })) {
            failure = "no clients listed";
            return false;
        }
        chooseRow(list, 0);
    }
    return pressButton(wizard, "Next");
}

bool WizardFixture::passRecoveryPoint(Corvel::RecoveryWizard& wizard)
{
    auto* times = findOnPage<QListWidget>(wizard.currentPage(), "SNAPSHOT TIME:");
    if (!times || !waitFor([&] { return times->count() > 0; })) {
        failure = "no restore point times listed";
        return false;
    }
    QListWidgetItem* last = times->item(times->count() - 1);
    times->scrollToItem(last);
    QTest::mouseClick(times->viewport(), Qt::LeftButton, {}, times->visualItemRect(last).center());
    if (times->currentItem() != last)
        times->setCurrentItem(last);
    return pressButton(wizard, "Next");
}

bool WizardFixture::passDisks(Corvel::RecoveryWizard& wizard)
{
    return pressButton(wizard, "Next");
}

bool WizardFixture::passLocalCache(Corvel::RecoveryWizard& wizard)
{
    return pressButton(wizard, "Next");
}

bool WizardFixture::passVmSettings(Corvel::RecoveryWizard& wizard, const QString& name)
{
    auto* nameEdit = findOnPage<QLineEdit>(wizard.currentPage(), "NAME:");
    if (!nameEdit) {
        failure = "no VM name field";
        return false;
    }
    nameEdit->setFocus();
    QTest::keyClicks(nameEdit, name);
    return pressButton(wizard, "Next");
}

bool WizardFixture::passDiskOptions(Corvel::RecoveryWizard& wizard)
{
    // A generation 2 machine comes with VHDX checked; for generation 1 the operator picks.
    const auto formats = wizard.currentPage()->findChildren<QRadioButton*>();
    if (std::none_of(formats.begin(), formats.end(), [](QRadioButton* button) { return button->isChecked(); })) {
        for (QRadioButton* format : formats)
            if (format->isEnabled() && format->text() == "VHDX")
                clickOn(format);
    }
    return pressButton(wizard, "Next");
}

bool WizardFixture::finish(Corvel::RecoveryWizard& wizard)
{
    QPushButton* start = nullptr;
    for (QPushButton* button : wizard.currentPage()->findChildren<QPushButton*>())
        if (button->objectName() == "button_primary")
            start = button;
    if (!start || !start->isEnabled()) {
        failure = "no start button on " + wizard.currentPage()->title();
        return false;
    }
    clickOn(start);
    if (!waitFor([&] { return !wizard.isVisible(); }, 2000)) {
        failure = "the wizard stayed open";
        return false;
    }
    return wizard.result() == QDialog::Accepted;
}
