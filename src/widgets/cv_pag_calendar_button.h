#pragma once

#include <QFrame>

class QLabel;

namespace CorvelWidgets {

class IconFont;

// "Previous Day" / "Next Day" beside the date field. Keeps its room when hidden, so the field
// does not move.
class CvPagCalendarButton : public QFrame {
    Q_OBJECT
public:
    CvPagCalendarButton(const QString& text, bool pointsRight, const IconFont& iconFont, QWidget* parent = nullptr);

signals:
    void clicked();

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QLabel* m_icon;
    QLabel* m_text;
};

} // namespace CorvelWidgets
