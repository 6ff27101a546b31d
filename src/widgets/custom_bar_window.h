#pragma once

#include <QDialog>
#include <QList>
#include <QPoint>
#include <QVBoxLayout>

class QFrame;
class QLabel;
class QPushButton;

namespace CorvelWidgets {
class IconFont;
}

namespace Corvel {

// Frameless dialog with its own title stripe and close button; the base of the wizard and the
// small job dialogs. Put the dialog's widgets into contentLayout().
class CustomBarWindow : public QDialog {
    Q_OBJECT
public:
    explicit CustomBarWindow(const CorvelWidgets::IconFont& iconFont, QWidget* parent = nullptr);

    // Shown in the title stripe (rich text allowed) and used as the window title.
    void setTitle(const QString& title);
    QString title() const;

    QVBoxLayout* contentLayout() const { return m_contentLayout; }
    // The body of the small dialogs: `widgets` top to bottom, `spacing` apart, then `buttons` in a row
    // on the right.
    void addBody(const QList<QWidget*>& widgets, const QList<QPushButton*>& buttons, int spacing);
    QFrame* frame() const { return m_frame; }
    QPushButton* closeButton() const { return m_closeButton; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    QVBoxLayout* m_layout;
    QFrame* m_frame;
    QLabel* m_title;
    QPushButton* m_closeButton;
    QVBoxLayout* m_contentLayout;
    QWidget* m_titleStripe;
    QPoint m_dragOffset;
    bool m_dragging = false;
};

} // namespace Corvel
