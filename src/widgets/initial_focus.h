#pragma once

class QPushButton;
class QWidget;

namespace CorvelWidgets {

// Gives a framed window's keyboard focus to its first input, else its default button, else its
// first control outside `chrome` (the title bar), unless something there already holds it. Return
// must never reach a window's Close by accident.
void focusFirstControl(QWidget* window, const QWidget* chrome);

// Return and Enter press `button` while it has the focus, as they press an auto-default button,
// but without making it the window's default: each time the focus comes to or leaves an
// auto-default button, its window looks through every push button it holds, tens of milliseconds
// per key in a window with a thousand jobs' buttons.
void pressOnReturn(QPushButton* button);

} // namespace CorvelWidgets
