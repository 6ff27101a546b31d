#pragma once

#include <QStackedWidget>

namespace CorvelWidgets {

// A page stack whose size follows the page shown, not the largest page.
class ResizableStackedWidget : public QStackedWidget {
    Q_OBJECT
public:
    using QStackedWidget::QStackedWidget;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
};

} // namespace CorvelWidgets
