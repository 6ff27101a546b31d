#include "widgets/styled_combobox.h"

#include <QListView>

namespace CorvelWidgets {

StyledCombobox::StyledCombobox(QWidget* parent, bool editable)
    : QComboBox(parent)
{
    setEditable(editable);
    setView(new QListView(this));
    setObjectName("standard_combo");
}

} // namespace CorvelWidgets
