#pragma once

#include "auth/cloud_call_retry.h"
#include "cloud/cloud_records.h"
#include "session/user_data.h"
#include "wizard/pages/page_context.h"
#include "wizard/recovery_wizard_page.h"

#include <QList>

class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPushButton;

namespace CorvelWidgets {
class LoaderWidget;
class StyledCombobox;
} // namespace CorvelWidgets

namespace Corvel {

struct RecoveryWizardValues;

// What to restore from: client (partners only), data source and protected system, from the cloud.
class PageRecoveryDataSource : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageRecoveryDataSource(RecoveryWizardValues* values, const PageContext& context,
                           const CorvelWidgets::IconFont& iconFont, QWidget* parent = nullptr);

    QLineEdit* searchField() const { return m_search; }
    QListWidget* clientList() const { return m_clientList; }
    CorvelWidgets::StyledCombobox* dataSourceCombo() const { return m_dataSources; }
    CorvelWidgets::StyledCombobox* deviceCombo() const { return m_devices; }
    QPushButton* nextButton() const { return m_next; }
    CorvelWidgets::LoaderWidget* loader() const { return m_loader; }

private:
    void requestClients();
    void requestDataSources();
    void requestDevices();
    void filterClients(const QString& text);
    void onClientChanged(QListWidgetItem* item);
    void onDataSourceChanged(int index);
    void onDeviceChanged(int index);
    void clearFromDataSources();
    void clearFromDevices();
    void clearDevice();
    void updateNext();

    RecoveryWizardValues* m_values;
    VuskAPI::CloudApi& m_cloud;
    TmxAuth::CloudCallRetry m_retry;
    TmxAuth::UserRole m_role;
    QList<VuskAPI::TmxClient> m_clients;
    // A new request of a level makes older replies of that level stale.
    quint64 m_clientsGeneration = 0;
    quint64 m_dataSourcesGeneration = 0;
    quint64 m_devicesGeneration = 0;

    QLineEdit* m_search = nullptr;
    QListWidget* m_clientList = nullptr;
    CorvelWidgets::StyledCombobox* m_dataSources;
    CorvelWidgets::StyledCombobox* m_devices;
    CorvelWidgets::LoaderWidget* m_loader;
    QPushButton* m_next;
};

} // namespace Corvel

Q_DECLARE_METATYPE(VuskAPI::ClientDataSource)
Q_DECLARE_METATYPE(VuskAPI::ProtectedDevice)
