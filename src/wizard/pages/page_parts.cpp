#include "wizard/pages/page_parts.h"

#include "widgets/glyph.h"
#include "widgets/icon_font.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace Corvel::PageParts {

QPushButton* back(const CorvelWidgets::IconFont& iconFont, const QString& text)
{
    auto* button = new QPushButton(text);
    button->setObjectName("button_secondary");
    button->setIcon(iconFont.icon(CorvelWidgets::Glyph::Left, CorvelWidgets::IconFont::accent()));
    button->setAccessibleName(text);
    return button;
}

QPushButton* next(const CorvelWidgets::IconFont& iconFont, const QString& text)
{
    auto* button = new QPushButton(text);
    button->setObjectName("button_primary");
    button->setIcon(iconFont.icon(CorvelWidgets::Glyph::Next, {{"color", "white"}, {"color-active", "white"}}));
    button->setLayoutDirection(Qt::RightToLeft);
    button->setAccessibleName(text);
    return button;
}

QLabel* label(const QString& text, const char* objectName)
{
    auto* label = new QLabel(text);
    label->setObjectName(objectName);
    return label;
}

QHBoxLayout* footer(std::initializer_list<QWidget*> left, std::initializer_list<QWidget*> right, int topMargin)
{
    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, topMargin, 0, 0);
    for (QWidget* widget : left)
        row->addWidget(widget);
    row->addStretch();
    for (QWidget* widget : right)
        row->addWidget(widget);
    return row;
}

} // namespace Corvel::PageParts
