#include "widgets/dialog_style.h"

#include <QAbstractButton>
#include <QGuiApplication>
#include <QPainter>
#include <QVariant>
#include <QWidget>

#ifdef CORVEL_HAVE_X11EXTRAS
#include <QX11Info>
#endif

namespace CorvelWidgets {

namespace DialogStyle {

QColor borderColor()
{
    return QColor(0x87, 0x8C, 0x96);
}

void paintBorder(QWidget& dialog)
{
    QPainter painter(&dialog);
    painter.setPen(QPen(borderColor(), 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(dialog.rect().adjusted(0, 0, -1, -1));
}

void dropButtonIcons(QWidget& dialog)
{
    for (QAbstractButton* button : dialog.findChildren<QAbstractButton*>())
        button->setIcon(QIcon());
}

bool translucencyAvailable()
{
    const QString platform = QGuiApplication::platformName();
    if (platform == QLatin1String("windows") || platform == QLatin1String("cocoa"))
        return true;
#ifdef CORVEL_HAVE_X11EXTRAS
    if (platform == QLatin1String("xcb"))
        return QX11Info::isCompositingManagerRunning();
#endif
    return false;
}

void useTranslucentEdges(QWidget& window)
{
    const bool translucent = translucencyAvailable();
    window.setAttribute(Qt::WA_TranslucentBackground, translucent);
    window.setProperty("plainCorners", !translucent);
}

} // namespace DialogStyle

} // namespace CorvelWidgets
