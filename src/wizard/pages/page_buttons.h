#pragma once

#include <QString>

class QPushButton;

namespace CorvelWidgets {
class IconFont;
}

namespace Corvel::PageButtons {

// "Back" ("button_secondary", left arrow) and "Next" ("button_primary", right arrow).
QPushButton* back(const CorvelWidgets::IconFont& iconFont, const QString& text = QStringLiteral("Back"));
QPushButton* next(const CorvelWidgets::IconFont& iconFont, const QString& text = QStringLiteral("Next"));

} // namespace Corvel::PageButtons
