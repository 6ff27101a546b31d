#pragma once

#include "widgets/custom_bar_window.h"

class QRadioButton;

namespace CvJobs {

// Asks what becomes of the virtual machine of a virtualization job that is being deleted.
class DeleteVMDialog : public Corvel::CustomBarWindow {
    Q_OBJECT
public:
    DeleteVMDialog(const CorvelWidgets::IconFont& iconFont, QWidget* parent, bool deleteSelected);

    bool isDeleteSelected() const;

    static QString descriptionText();

private:
    QRadioButton* m_yesButton;
    QRadioButton* m_noButton;
    QPushButton* m_saveButton;
};

} // namespace CvJobs
