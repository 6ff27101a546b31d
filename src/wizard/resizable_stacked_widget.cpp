#include "wizard/resizable_stacked_widget.h"

namespace CorvelWidgets {

QSize ResizableStackedWidget::sizeHint() const
{
    return currentWidget() ? currentWidget()->sizeHint() : QStackedWidget::sizeHint();
}

QSize ResizableStackedWidget::minimumSizeHint() const
{
    return currentWidget() ? currentWidget()->minimumSizeHint() : QStackedWidget::minimumSizeHint();
}

} // namespace CorvelWidgets
