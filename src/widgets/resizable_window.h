#pragma once

#include <QDialog>
#include <QRect>
#include <QVBoxLayout>

class QLabel;
class QSizeGrip;


namespace CorvelWidgets {
class CvTitleBar;
}

namespace Corvel {

// Frameless, resizable top-level window: the console's own title bar on top, the content in the
// middle (contentLayout()) and a footer with the logo, the version and a size grip.
class ResizableWindow : public QDialog {
    Q_OBJECT
public:
    explicit ResizableWindow(QWidget* parent = nullptr);

    CorvelWidgets::CvTitleBar* titleBar() const { return m_titleBar; }
    QVBoxLayout* contentLayout() const { return m_contentLayout; }

public slots:
    void toggleMaximized();

protected:
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void maximizeToWorkArea(bool rememberNormalGeometry);

    QVBoxLayout* m_layout;
    bool m_remaximize = false;
    bool m_adjusting = false;
    QRect m_normalGeometry;
    CorvelWidgets::CvTitleBar* m_titleBar;
    QVBoxLayout* m_contentLayout;
};

} // namespace Corvel
