#include "widgets/picture_tag.h"

#include <cmath>

namespace CorvelWidgets {

namespace {
constexpr double SmallestScaledStep = 1.25;
}

QString pictureTag(const QString& resource, int height, double scale)
{
    if (scale < SmallestScaledStep)
        return QStringLiteral("<img src=") + resource + QStringLiteral(">");
    const int dot = resource.lastIndexOf('.');
    const QString doubled = dot < 0 ? resource + QStringLiteral("@2x") : resource.left(dot) + "@2x" + resource.mid(dot);
    const long long scaled = static_cast<long long>(std::floor(height * scale + 0.5));
    return QStringLiteral("<img src=") + doubled + QStringLiteral(" height=") + QString::number(scaled) +
           QStringLiteral(">");
}

} // namespace CorvelWidgets
