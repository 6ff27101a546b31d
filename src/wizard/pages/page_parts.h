#pragma once

#include "widgets/loader_widget.h"

#include <QObject>
#include <QString>

#include <initializer_list>

class QHBoxLayout;
class QLabel;
class QPushButton;
class QWidget;

namespace CorvelWidgets {
class IconFont;
}

namespace Corvel::PageParts {

// The parts every page is built from. "Back" ("button_secondary", left arrow) and "Next"
// ("button_primary", right arrow).
QPushButton* back(const CorvelWidgets::IconFont& iconFont, const QString& text = QStringLiteral("Back"));
QPushButton* next(const CorvelWidgets::IconFont& iconFont, const QString& text = QStringLiteral("Next"));

QLabel* label(const QString& text, const char* objectName = "field_label");

// The row at the foot of a page: `left` (the loader), a stretch, then `right` (Back, Next...).
QHBoxLayout* footer(std::initializer_list<QWidget*> left, std::initializer_list<QWidget*> right, int topMargin = 30);

// The page's loader shows while `model` says it is loading (a text) and hides on an empty text.
template <typename Model>
void bindLoader(Model* model, void (Model::*loading)(const QString&), CorvelWidgets::LoaderWidget* loader)
{
    QObject::connect(model, loading, loader, [loader](const QString& text) {
        if (text.isEmpty())
            loader->hideLoader();
        else
            loader->showLoader(text);
    });
}

} // namespace Corvel::PageParts
