#pragma once

#include "widgets/custom_bar_window.h"

namespace CvJobs {

// Confirms the choice to delete a job's virtual machine.
class DeleteVMDialog2 : public Corvel::CustomBarWindow {
    Q_OBJECT
public:
    DeleteVMDialog2(const CorvelWidgets::IconFont& iconFont, QWidget* parent);

    // Meaningful once accepted: which of the two buttons answered.
    bool isDeleteSelected() const { return m_deleteSelected; }

private:
    QPushButton* m_deleteButton;
    QPushButton* m_keepButton;
    bool m_deleteSelected = false;
};

} // namespace CvJobs
