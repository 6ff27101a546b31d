#pragma once

namespace CorvelWidgets {

// Logical DPI of the screen under the mouse cursor over 96; 1.0 without a screen there.
double screenScale();

} // namespace CorvelWidgets
