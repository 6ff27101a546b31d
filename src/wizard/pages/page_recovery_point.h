#pragma once

#include "wizard/models/restore_points_model.h"
#include "wizard/recovery_wizard_page.h"

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

// Which snapshot to restore: the device's restore points, then a date and a time.
class PageRecoveryPoint : public RecoveryWizardPage {
    Q_OBJECT
public:
    PageRecoveryPoint(RecoveryWizardValues* values, const PageContext& context, const CorvelWidgets::IconFont& iconFont,
                      QWidget* parent = nullptr);

    void onPageShown() override;

private:
    void fillDates();
    void onDateSelected(const QDate& date);
    void onTimeChanged(QListWidgetItem* item);
    void clearSelection();

    RecoveryWizardValues* m_values;
    RestorePointsModel m_model;
    quint64 m_shownDevice = 0;

    CorvelWidgets::DateLineEditWithButtonsDaysMove* m_datePicker;
    QListWidget* m_timeList;
    CorvelWidgets::LoaderWidget* m_loader;
    QPushButton* m_next;
};

} // namespace Corvel
