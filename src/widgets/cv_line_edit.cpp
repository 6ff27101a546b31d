#include "widgets/cv_line_edit.h"

#include <QMouseEvent>

namespace CorvelWidgets {

CvLineEdit::CvLineEdit(QWidget* parent)
    : QLineEdit(parent)
{
    setReadOnly(true);
}

void CvLineEdit::mouseReleaseEvent(QMouseEvent* event)
{
    QLineEdit::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton)
        emit clicked();
}

} // namespace CorvelWidgets
