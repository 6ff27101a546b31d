#include "widgets/initial_focus.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTextEdit>

namespace CorvelWidgets {

namespace {

class ReturnPress : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::KeyPress)
            return false;
        const auto* key = static_cast<QKeyEvent*>(event);
        const Qt::KeyboardModifiers mods = key->modifiers() & ~Qt::KeypadModifier;
        if ((key->key() != Qt::Key_Return && key->key() != Qt::Key_Enter) || mods != Qt::NoModifier)
            return false;
        static_cast<QPushButton*>(watched)->click();
        return true;
    }
};

bool takesFocus(const QWidget* widget)
{
    return widget->isVisibleTo(widget->window()) && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus);
}

bool isInput(const QWidget* widget)
{
    if (auto* line = qobject_cast<const QLineEdit*>(widget))
        return !line->isReadOnly();
    return qobject_cast<const QAbstractSpinBox*>(widget) || qobject_cast<const QTextEdit*>(widget) ||
           qobject_cast<const QPlainTextEdit*>(widget) || qobject_cast<const QComboBox*>(widget) ||
           widget->inherits("QWebEngineView");
}

} // namespace

void focusFirstControl(QWidget* window, const QWidget* chrome)
{
    QWidget* current = window->focusWidget();
    if (current && current != window && !chrome->isAncestorOf(current) && current != chrome)
        return;
    QWidget* firstInput = nullptr;
    QWidget* defaultButton = nullptr;
    QWidget* firstControl = nullptr;
    QWidget* widget = window;
    // The focus chain holds each widget once; it ends where it began.
    do {
        widget = widget->nextInFocusChain();
        if (widget == window || chrome->isAncestorOf(widget) || !takesFocus(widget))
            continue;
        if (!firstInput && isInput(widget))
            firstInput = widget;
        if (!defaultButton)
            if (auto* button = qobject_cast<QPushButton*>(widget); button && button->isDefault())
                defaultButton = button;
        if (!firstControl)
            firstControl = widget;
    } while (widget != window);
    if (QWidget* chosen = firstInput ? firstInput : defaultButton ? defaultButton : firstControl)
        chosen->setFocus(Qt::OtherFocusReason);
}

void pressOnReturn(QPushButton* button)
{
    button->setAutoDefault(false);
    button->installEventFilter(new ReturnPress(button));
}

} // namespace CorvelWidgets
