#include "ui/main_window_geometry.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include <algorithm>

namespace Corvel {

namespace {
constexpr double DefaultDpi = 96.0;
constexpr double DesignWidth = 1175.0;
} // namespace

int mainWindowWidth(double logicalDpi, int screenWidth)
{
    return static_cast<int>(std::min(static_cast<double>(screenWidth), logicalDpi / DefaultDpi * DesignWidth));
}

void sizeAndCentreMainWindow(QWidget& window)
{
    const QScreen* underCursor = QGuiApplication::screenAt(QCursor::pos());
    const double dpi = underCursor ? underCursor->logicalDotsPerInchX() : DefaultDpi;
    const QScreen* primary = QGuiApplication::primaryScreen();
    if (!primary)
        return;
    const int width = mainWindowWidth(dpi, primary->geometry().width());
    window.setMinimumWidth(width);
    window.resize(width, window.minimumHeight());
    QRect frame = window.frameGeometry();
    frame.moveCenter(primary->geometry().center());
    window.move(frame.topLeft());
}

} // namespace Corvel
