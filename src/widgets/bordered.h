#pragma once

#include "widgets/dialog_style.h"

namespace CorvelWidgets {

// A stock dialog with the console's one-pixel edge: without a window manager's frame (or on a light
// one) a plain dialog melts into the table behind it.
template <typename Dialog> class Bordered : public Dialog {
public:
    using Dialog::Dialog;

protected:
    void paintEvent(QPaintEvent* event) override
    {
        Dialog::paintEvent(event);
        DialogStyle::paintBorder(*this);
    }
};

} // namespace CorvelWidgets
