#include "widgets/message_box.h"
#include "widgets/screen_scale.h"

#include "core/style_sheet.h"
#include "widgets/bordered.h"
#include "widgets/dialog_style.h"

#include <QDebug>
#include <QPushButton>
#include <QQueue>

namespace CorvelWidgets {

namespace {
QQueue<QMessageBox::StandardButton> g_answers;
bool g_autoAnswer = false;
QList<MessageBox::Request> g_shown;

class BorderedMessageBox : public Bordered<QMessageBox> {
public:
    using Bordered<QMessageBox>::Bordered;

protected:
    // Showing the box gives the focus to its first button, whatever the default is: Return must
    // answer the default, never "Yes" by accident.
    void showEvent(QShowEvent* event) override
    {
        QMessageBox::showEvent(event);
        if (QPushButton* preferred = defaultButton())
            preferred->setFocus(Qt::OtherFocusReason);
    }
};

QMessageBox::StandardButton fallbackAnswer(const MessageBox::Request& request)
{
    if (request.defaultButton != QMessageBox::NoButton)
        return request.defaultButton;
    for (unsigned bit = QMessageBox::FirstButton; bit <= QMessageBox::LastButton; bit <<= 1)
        if (request.buttons & bit)
            return static_cast<QMessageBox::StandardButton>(bit);
    return QMessageBox::Ok;
}
} // namespace

QMessageBox::StandardButton MessageBox::ask(QWidget* parent, const Request& request)
{
    if (g_autoAnswer || !g_answers.isEmpty()) {
        g_shown.append(request);
        const auto answer = g_answers.isEmpty() ? fallbackAnswer(request) : g_answers.dequeue();
        qInfo().noquote() << "Message box answered unattended: [" + request.title + "] " + request.text;
        return answer;
    }
    BorderedMessageBox box(parent);
    box.setObjectName(QStringLiteral("message_box"));
    // Before anything else: new flags re-create the window, which drops the default button's focus.
    if (request.flags)
        box.setWindowFlags(box.windowFlags() | request.flags);
    box.setIcon(request.icon);
    if (request.icon != QMessageBox::NoIcon) {
        constexpr int PictureSide = 32;
        box.setIconPixmap(DialogStyle::statusPicture(request.icon, qRound(PictureSide * CorvelWidgets::screenScale()),
                                                     box.devicePixelRatioF()));
    }
    if (request.titleSet)
        box.setWindowTitle(request.title);
    box.setText(request.text);
    if (!request.informativeText.isEmpty())
        box.setInformativeText(request.informativeText);
    box.setStandardButtons(request.buttons);
    for (auto it = request.buttonTexts.begin(); it != request.buttonTexts.end(); ++it)
        if (QAbstractButton* button = box.button(it.key()))
            button->setText(it.value());
    DialogStyle::dropButtonIcons(box);
    if (request.defaultButton != QMessageBox::NoButton)
        box.setDefaultButton(request.defaultButton);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

static MessageBox::Request simple(QMessageBox::Icon icon, const QString& title, const QString& text)
{
    MessageBox::Request request;
    request.icon = icon;
    request.title = title;
    request.text = text;
    return request;
}

QMessageBox::StandardButton MessageBox::critical(QWidget* parent, const QString& title, const QString& text)
{
    return ask(parent, simple(QMessageBox::Critical, title, text));
}

QMessageBox::StandardButton MessageBox::warning(QWidget* parent, const QString& title, const QString& text)
{
    return ask(parent, simple(QMessageBox::Warning, title, text));
}

QMessageBox::StandardButton MessageBox::information(QWidget* parent, const QString& title, const QString& text)
{
    return ask(parent, simple(QMessageBox::Information, title, text));
}

void MessageBox::setNextAnswer(QMessageBox::StandardButton answer)
{
    g_answers.enqueue(answer);
}

void MessageBox::setAutoAnswer(bool enabled)
{
    g_autoAnswer = enabled;
    if (!enabled)
        g_answers.clear();
}

QList<MessageBox::Request> MessageBox::shown()
{
    return g_shown;
}

void MessageBox::clearShown()
{
    g_shown.clear();
}

} // namespace CorvelWidgets
