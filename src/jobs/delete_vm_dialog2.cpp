#include "jobs/delete_vm_dialog2.h"

#include "jobs/delete_vm_dialog.h"
#include "jobs/jobs_texts.h"

#include <QLabel>
#include <QPushButton>

namespace CvJobs {

DeleteVMDialog2::DeleteVMDialog2(const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : Corvel::CustomBarWindow(iconFont, parent)
    , m_deleteButton(new QPushButton(Texts::ConfirmDelete, this))
    , m_keepButton(new QPushButton(Texts::ConfirmKeep, this))
{
    setTitle(Texts::DeleteVmTitle);
    setModal(true);

    auto* description = new QLabel(DeleteVMDialog::descriptionText(), this);
    description->setObjectName("wizard_started_page_desription");
    description->setTextFormat(Qt::RichText);

    auto* question = new QLabel(Texts::AreYouSure, this);
    question->setObjectName("delete_vm_label_big");
    question->setAlignment(Qt::AlignCenter);

    m_deleteButton->setObjectName("button_secondary");
    m_keepButton->setObjectName("button_primary");
    m_keepButton->setDefault(true);
    connect(m_deleteButton, &QPushButton::clicked, this, [this] {
        m_deleteSelected = true;
        accept();
    });
    connect(m_keepButton, &QPushButton::clicked, this, [this] {
        m_deleteSelected = false;
        accept();
    });

    addBody({description, question}, {m_deleteButton, m_keepButton}, 14);
}

} // namespace CvJobs
