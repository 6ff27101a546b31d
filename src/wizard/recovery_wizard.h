#pragma once

#include "auth/sign_in_flows.h"
#include "core/settings.h"
#include "widgets/custom_bar_window.h"
#include "wizard/recovery_wizard_values.h"
#include "wizard/wizard_page.h"

#include <QVector>

#include <cstdint>
#include <functional>
#include <string>

#include <memory>

namespace CorvelPlatform {
class ServiceControl;
}
namespace CorvelService {
class ServiceConnection;
}
namespace CorvelWidgets {
class ResizableStackedWidget;
}
namespace TmxAuth {
class AuthSession;
}
namespace VuskAPI {
class CloudApi;
}

namespace Corvel {

class RecoveryWizardPage;

// What the wizard talks to. The session, settings and connection must outlive the wizard.
struct RecoveryWizardContext {
    TmxAuth::AuthSession& session;
    const Settings& settings;
    CorvelService::ServiceConnection& connection;
    // The cloud; the wizard makes its own request object to vusk_url when empty.
    VuskAPI::CloudApi* cloud = nullptr;
    // Where the Hyper-V check looks; the machine's service manager when empty.
    std::shared_ptr<CorvelPlatform::ServiceControl> serviceControl;
    // Where a re-sign-in gets its token; the login window when empty.
    TmxAuth::TokenSource tokenSource;
    // Opens a local cache; checkLocalCache when empty.
    std::function<std::int32_t(const std::string&, const std::string&, const std::string&, const std::string&)>
        localCacheCheck;
};

// The modal dialog in which the operator describes one recovery job. Pages decide where to go;
// the wizard shows the page asked for, keeps the history for "Back", accepts or closes.
class RecoveryWizard : public CustomBarWindow {
    Q_OBJECT
public:
    RecoveryWizard(QWidget* parent, const CorvelWidgets::IconFont& iconFont, RecoveryWizardContext context);
    ~RecoveryWizard() override;

    RecoveryWizardValues values() const { return m_values; }
    const QVector<qint32>& history() const { return m_history; }
    RecoveryWizardPage* page(WizardPage id) const;
    RecoveryWizardPage* currentPage() const;
    CorvelWidgets::ResizableStackedWidget* stack() const { return m_stack; }

public slots:
    void nextPage(Corvel::WizardPage page);
    void previousPage();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void registerPage(WizardPage id, RecoveryWizardPage* page);
    void showPage(int index);
    void resizeAroundCentre();

    CorvelWidgets::ResizableStackedWidget* m_stack;
    QVector<qint32> m_history;
    RecoveryWizardContext m_context;
    std::unique_ptr<VuskAPI::CloudApi> m_ownCloud;
    RecoveryWizardValues m_values;
};

} // namespace Corvel
