#include "widgets/styled_label.h"

namespace CorvelWidgets {

StyledLabel::StyledLabel(const QString& text, const QString& objectName, QWidget* parent)
    : QLabel(text, parent)
{
    setObjectName(objectName);
}

} // namespace CorvelWidgets
