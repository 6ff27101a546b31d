#pragma once

class QWidget;

namespace Corvel {

// 1175 logical pixels at the screen's scale, but never wider than the screen.
int mainWindowWidth(double logicalDpi, int screenWidth);

// Sizes a shown main window to mainWindowWidth for the screen under the cursor and centres it on
// the primary screen.
void sizeAndCentreMainWindow(QWidget& window);

} // namespace Corvel
