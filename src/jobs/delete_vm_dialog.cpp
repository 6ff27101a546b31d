#include "jobs/delete_vm_dialog.h"

#include "jobs/jobs_texts.h"
#include "widgets/icon_font.h"

#include <QButtonGroup>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>

namespace CvJobs {

DeleteVMDialog::DeleteVMDialog(const CorvelWidgets::IconFont& iconFont, QWidget* parent, bool deleteSelected)
    : Corvel::CustomBarWindow(iconFont, parent)
    , m_yesButton(new QRadioButton(Texts::DeleteVmYes, this))
    , m_noButton(new QRadioButton(Texts::DeleteVmNo, this))
    , m_saveButton(new QPushButton(Texts::Save, this))
{
    setTitle(Texts::DeleteVmTitle);
    setModal(true);

    auto* description = new QLabel(descriptionText(), this);
    // The style sheet knows this label by either name; the first one is shared with the other dialogs.
    description->setObjectName("wizard_started_page_desription");
    description->setProperty("alternateObjectName", "delete_vm_label");
    description->setTextFormat(Qt::RichText);

    auto* choices = new QButtonGroup(this);
    for (QRadioButton* button : {m_yesButton, m_noButton}) {
        button->setObjectName("path_button");
        choices->addButton(button);
    }
    choices->setExclusive(true);
    (deleteSelected ? m_yesButton : m_noButton)->setChecked(true);

    m_saveButton->setObjectName("button_primary");
    m_saveButton->setDefault(true);
    connect(m_saveButton, &QPushButton::clicked, this, &QDialog::accept);

    addBody({description, m_yesButton, m_noButton}, {m_saveButton}, 14);
}

bool DeleteVMDialog::isDeleteSelected() const
{
    return m_yesButton->isChecked();
}

QString DeleteVMDialog::descriptionText()
{
    return QString::fromLatin1(Texts::DeleteVmQuestion);
}

} // namespace CvJobs
