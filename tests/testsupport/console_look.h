#pragma once

#include "widgets/icon_font.h"

namespace CorvelTest {

// Loads the console's fonts, icon font and style sheet as start-up does, so that widgets under
// test look (and measure) as they do for an operator.
CorvelWidgets::IconFont applyConsoleLook();

} // namespace CorvelTest
