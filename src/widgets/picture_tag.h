#pragma once

#include <QString>

namespace CorvelWidgets {

// Rich-text tag of a bitmap resource that has an "@2x" sibling, for a screen at `scale` (logical
// DPI over 96). Up to 1.25 it is the plain tag (a high-density screen picks the @2x file itself);
// above, the @2x source is drawn at `height` times the scale, so the picture grows with the text
// instead of staying at its 100 % size.
QString pictureTag(const QString& resource, int height, double scale);

} // namespace CorvelWidgets
