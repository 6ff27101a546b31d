#pragma once

#include <QColor>
#include <QMessageBox>
#include <QPixmap>

class QWidget;

namespace CorvelWidgets {

// The console's own dialog look, shared by the message boxes, the progress dialog, the framed
// dialogs and the user menu.
namespace DialogStyle {

// The one-pixel edge drawn round dialogs that have no frame of their own to set them off from
// the window behind.
QColor borderColor();
void paintBorder(QWidget& dialog);

// Takes the desktop's stock pictures off the dialog's buttons (OK, Cancel, Yes, ...).
void dropButtonIcons(QWidget& dialog);

// The message box's picture for `icon`, drawn in the console's colours at the given density
// (the desktop's stock pictures are small bitmaps that blur at 150 % and 200 %). Null for NoIcon.
QPixmap statusPicture(QMessageBox::Icon icon, int side, qreal devicePixelRatio);

// Whether something composites translucent windows on this desktop (always on Windows and
// macOS; on X11 only while a compositing manager runs). Without it a translucent window shows
// black where it is transparent.
bool translucencyAvailable();

// Makes `window` translucent when that is drawn, else opaque with the "plainCorners" property
// set (the style sheet then draws square corners). Call before the window is polished.
void useTranslucentEdges(QWidget& window);

} // namespace DialogStyle

} // namespace CorvelWidgets
