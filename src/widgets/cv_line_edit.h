#pragma once

#include <QLineEdit>

namespace CorvelWidgets {

// The date field of the date picker: shows one date, is not typed into, and passes clicks on.
class CvLineEdit : public QLineEdit {
    Q_OBJECT
public:
    explicit CvLineEdit(QWidget* parent = nullptr);

signals:
    void clicked();

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;
};

} // namespace CorvelWidgets
