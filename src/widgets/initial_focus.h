#pragma once

class QWidget;

namespace CorvelWidgets {

// Gives a framed window's keyboard focus to its first input, else its default button, else its
// first control outside `chrome` (the title bar), unless something there already holds it. Return
// must never reach a window's Close by accident.
void focusFirstControl(QWidget* window, const QWidget* chrome);

} // namespace CorvelWidgets
