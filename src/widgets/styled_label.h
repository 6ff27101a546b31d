#pragma once

#include <QLabel>

namespace CorvelWidgets {

// A label that carries its style sheet hook from construction.
class StyledLabel : public QLabel {
    Q_OBJECT
public:
    StyledLabel(const QString& text, const QString& objectName, QWidget* parent = nullptr);
};

} // namespace CorvelWidgets
