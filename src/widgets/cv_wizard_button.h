#pragma once

#include <QFrame>
#include <QIcon>
#include <QSize>

class QLabel;

namespace CorvelWidgets {

// A large clickable tile: icon, caption and description. Reachable with Tab and activated with
// Space or Enter like a button; a disabled tile takes no focus and reports nothing.
class CvWizardButton : public QFrame {
    Q_OBJECT
    Q_PROPERTY(QSize icon_size READ iconSize WRITE setIconSize)
public:
    CvWizardButton(const QString& caption, const QString& description, const QIcon& icon, QWidget* parent = nullptr);

    QSize iconSize() const { return m_iconSize; }
    void setIconSize(const QSize& size);

    QLabel* captionLabel() const { return m_caption; }
    void setDescription(const QString& description);

signals:
    void clicked();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void updateIcon();

    QIcon m_icon;
    QSize m_iconSize{100, 100};
    QLabel* m_iconLabel;
    QLabel* m_caption;
    QLabel* m_description;
    bool m_pressed = false;
};

} // namespace CorvelWidgets
