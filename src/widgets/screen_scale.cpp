#include "widgets/screen_scale.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

namespace CorvelWidgets {

double screenScale()
{
    const QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    return screen ? screen->logicalDotsPerInchX() / 96.0 : 1.0;
}

} // namespace CorvelWidgets
