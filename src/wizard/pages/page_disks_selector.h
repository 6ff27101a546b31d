#pragma once

#include "wizard/models/disks_model.h"
#include "wizard/recovery_wizard_page.h"

#include <QList>

class QCheckBox;
class QPushButton;
class QVBoxLayout;

namespace CorvelWidgets {
class LoaderWidget;
}

namespace Corvel {

struct RecoveryWizardValues;

// Which of the restore point's disks to export or virtualize, from the service's metadata.
class PageDisksSelector : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageDisksSelector(RecoveryWizardValues* values, const PageContext& context, const CorvelWidgets::IconFont& iconFont,
                      QWidget* parent = nullptr);

    void onPageShown() override;

private:
    void buildList();
    void updateNext();
    void writeValues();

    RecoveryWizardValues* m_values;
    DisksModel m_model;
    bool m_dynamicAllowed = false;

    QWidget* m_diskList;
    QVBoxLayout* m_diskLayout;
    QList<QCheckBox*> m_boxes;
    QWidget* m_exportRow;
    QCheckBox* m_dynamic;
    CorvelWidgets::LoaderWidget* m_loader;
    QPushButton* m_next;
};

} // namespace Corvel
