#include "wizard/pages/page_buttons.h"

#include "widgets/icon_font.h"

#include <QPushButton>

namespace Corvel::PageButtons {

namespace {
constexpr ushort LeftGlyph = 0xE985;
constexpr ushort NextGlyph = 0xE91F;
} // namespace

QPushButton* back(const CorvelWidgets::IconFont& iconFont, const QString& text)
{
    auto* button = new QPushButton(text);
    button->setObjectName("button_secondary");
    button->setIcon(iconFont.icon(LeftGlyph, {{"color", "#FF6e21"}, {"color-active", "#FF5B04"}}));
    button->setAccessibleName(text);
    return button;
}

QPushButton* next(const CorvelWidgets::IconFont& iconFont, const QString& text)
{
    auto* button = new QPushButton(text);
    button->setObjectName("button_primary");
    button->setIcon(iconFont.icon(NextGlyph, {{"color", "white"}, {"color-active", "white"}}));
    button->setLayoutDirection(Qt::RightToLeft);
    button->setAccessibleName(text);
    return button;
}

} // namespace Corvel::PageButtons
