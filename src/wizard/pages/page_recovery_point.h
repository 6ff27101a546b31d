#pragma once

#include "auth/cloud_call_retry.h"
#include "wizard/pages/page_context.h"
#include "wizard/recovery_wizard_page.h"

#include <QFutureWatcher>
#include <QStringList>

#include <optional>

class QDate;
class QListWidget;
class QListWidgetItem;
class QPushButton;

namespace CorvelWidgets {
class DateLineEditWithButtonsDaysMove;
class LoaderWidget;
} // namespace CorvelWidgets

namespace Corvel {

struct RecoveryWizardValues;

// Which snapshot to restore: a device token from the cloud, the device's restore points from the
// local service (on a pool thread), then a date and a time.
class PageRecoveryPoint : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageRecoveryPoint(RecoveryWizardValues* values, const PageContext& context, const CorvelWidgets::IconFont& iconFont,
                      QWidget* parent = nullptr);

    void onPageShown() override;

    CorvelWidgets::DateLineEditWithButtonsDaysMove* datePicker() const { return m_datePicker; }
    QListWidget* timeList() const { return m_timeList; }
    QPushButton* nextButton() const { return m_next; }
    CorvelWidgets::LoaderWidget* loader() const { return m_loader; }

    // Empty when the retrieval failed; otherwise the names as the service listed them.
    using Retrieval = std::optional<QStringList>;
    static Retrieval retrieveRestorePoints(const CorvelService::ServiceConnection::Factory& factory, const QString& url,
                                           const QString& token, int retries);

private:
    void requestDeviceToken();
    void onRetrievalFinished();
    void fillDates();
    void onDateSelected(const QDate& date);
    void onTimeChanged(QListWidgetItem* item);
    void clearSelection();

    RecoveryWizardValues* m_values;
    VuskAPI::CloudApi& m_cloud;
    CorvelService::ServiceConnection::Factory m_serviceFactory;
    int m_retries;
    TmxAuth::CloudCallRetry m_retry;
    quint64 m_shownDevice = 0;
    quint64 m_retrievalDevice = 0;
    quint64 m_tokenGeneration = 0;
    QFutureWatcher<Retrieval> m_watcher;

    CorvelWidgets::DateLineEditWithButtonsDaysMove* m_datePicker;
    QListWidget* m_timeList;
    CorvelWidgets::LoaderWidget* m_loader;
    QPushButton* m_next;
};

} // namespace Corvel
