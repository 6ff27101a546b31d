#pragma once

#include <QComboBox>

namespace CorvelWidgets {

// A combo box whose drop-down list the style sheet can reach ("standard_combo").
class StyledCombobox : public QComboBox {
    Q_OBJECT
public:
    explicit StyledCombobox(QWidget* parent = nullptr, bool editable = false);
};

} // namespace CorvelWidgets
