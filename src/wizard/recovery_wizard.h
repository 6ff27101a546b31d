#pragma once

#include "core/settings.h"
#include "widgets/custom_bar_window.h"
#include "wizard/pages/page_context.h"
#include "wizard/recovery_wizard_values.h"
#include "wizard/wizard_page.h"

#include <QRect>
#include <QVector>

#include <functional>

namespace CorvelPlatform {
class ServiceControl;
}
namespace CorvelWidgets {
class ResizableStackedWidget;
}

namespace Corvel {

class RecoveryWizardPage;

// Everything the wizard talks to; all of it must outlive the wizard.
struct RecoveryWizardContext {
    TmxAuth::AuthSession& session;
    const Settings& settings;
    CorvelService::ServiceConnection& connection;
    VuskAPI::CloudApi& cloud;
    // Where the Hyper-V check looks.
    CorvelPlatform::ServiceControl& serviceControl;
    // A new sign-in after the session expired (true when it worked), with the wizard as parent.
    std::function<bool(QWidget* parent)> reSignIn;
    // The box for a cloud call given up on.
    std::function<void(QWidget* parent, const VuskAPI::RequestError&)> showCloudError;
    CacheCheck localCacheCheck;
    // Each service call of a page is given up on after this long.
    int serviceCallLimitMs;
};

// The modal dialog in which the operator describes one recovery job. Pages decide where to go;
// the wizard shows the page asked for, keeps the history for "Back", accepts or closes.
class RecoveryWizard : public CustomBarWindow {
    Q_OBJECT
public:
    static constexpr int ServiceCallLimitMs = 15000;

    RecoveryWizard(QWidget* parent, const CorvelWidgets::IconFont& iconFont, RecoveryWizardContext context);
    ~RecoveryWizard() override;

    RecoveryWizardValues values() const { return m_values; }
    // Opens on the last page of `history` with `values`, as the operator left them.
    void resume(const RecoveryWizardValues& values, const QVector<qint32>& history);
    const QVector<qint32>& history() const { return m_history; }
    RecoveryWizardPage* page(WizardPage id) const;
    RecoveryWizardPage* currentPage() const;

    // Test seam: the screen area the wizard keeps inside (empty: the screen's available geometry).
    static void setAvailableGeometryOverride(const QRect& area);

public slots:
    void nextPage(Corvel::WizardPage page);
    void previousPage();
    // Closing a wizard that holds input asks first.
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void registerPage(WizardPage id, RecoveryWizardPage* page);
    void showPage(int index);
    void place();

    CorvelWidgets::ResizableStackedWidget* m_stack;
    QVector<qint32> m_history;
    RecoveryWizardContext m_context;
    RecoveryWizardValues m_values;
};

} // namespace Corvel
