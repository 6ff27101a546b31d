#include "jobs/delete_vm_dialog2.h"

#include "jobs/delete_vm_dialog.h"
#include "jobs/jobs_texts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

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

    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(12);
    buttons->addStretch();
    buttons->addWidget(m_deleteButton);
    buttons->addWidget(m_keepButton);

    auto* content = new QVBoxLayout;
    content->setContentsMargins(30, 20, 30, 24);
    content->setSpacing(14);
    content->addWidget(description);
    content->addWidget(question);
    content->addSpacing(6);
    content->addLayout(buttons);
    contentLayout()->addLayout(content);
}

} // namespace CvJobs
