#include "widgets/dialog_style.h"

#include <QAbstractButton>
#include <QFont>
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

QPixmap statusPicture(QMessageBox::Icon icon, int side, qreal devicePixelRatio)
{
    QColor colour;
    QString mark;
    switch (icon) {
    case QMessageBox::NoIcon:
        return QPixmap();
    case QMessageBox::Information:
        colour = QColor(0x55, 0xBA, 0xE9);
        mark = QStringLiteral("i");
        break;
    case QMessageBox::Question:
        colour = QColor(0x69, 0xA3, 0xB9);
        mark = QStringLiteral("?");
        break;
    case QMessageBox::Warning:
        colour = QColor(0xFF, 0x6E, 0x21);
        mark = QStringLiteral("!");
        break;
    case QMessageBox::Critical:
        colour = QColor(0xDB, 0x2C, 0x00);
        mark = QStringLiteral("\u00D7");
        break;
    }
    QPixmap picture(QSize(side, side) * devicePixelRatio);
    picture.setDevicePixelRatio(devicePixelRatio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    const QRectF disc(0.5, 0.5, side - 1.0, side - 1.0);
    painter.drawEllipse(disc);
    QFont font = painter.font();
    font.setBold(true);
    font.setPixelSize(qRound(side * (icon == QMessageBox::Critical ? 0.75 : 0.62)));
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(disc, Qt::AlignCenter, mark);
    return picture;
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
