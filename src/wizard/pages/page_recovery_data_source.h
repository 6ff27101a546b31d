#pragma once

#include "wizard/models/data_source_model.h"
#include "wizard/recovery_wizard_page.h"

class QLineEdit;
class QListView;
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

private:
    void search(const QString& text);
    static void refill(CorvelWidgets::StyledCombobox* combo, const QStringList& names, bool enabled);

    DataSourceModel m_model;
    bool m_filtering = false;
    QLineEdit* m_search;
    QListView* m_clientList;
    CorvelWidgets::StyledCombobox* m_dataSources;
    CorvelWidgets::StyledCombobox* m_devices;
    CorvelWidgets::LoaderWidget* m_loader;
    QPushButton* m_next;
};

} // namespace Corvel
