#pragma once

#include <QFrame>
#include <QIcon>

class QLabel;
class QPushButton;

namespace Corvel {

// One tile of the Toolbox and Help Center pages: icon, caption, description and an action button.
class ToolBoxTileWidget : public QFrame {
    Q_OBJECT
public:
    ToolBoxTileWidget(const QIcon& icon, const QString& caption, const QString& description, const QString& buttonText,
                      QWidget* parent = nullptr);

    QPushButton* button() const { return m_button; }

signals:
    void clicked();

private:
    QLabel* m_icon;
    QLabel* m_caption;
    QLabel* m_description;
    QPushButton* m_button;
};

} // namespace Corvel
