#pragma once

#include <QStringList>
#include <QWidget>

namespace CvJobs {

// The fixed caption row above the jobs table.
class JobTableHeaderWidget : public QWidget {
    Q_OBJECT
public:
    explicit JobTableHeaderWidget(QWidget* parent = nullptr);

    static QStringList captions();

    // Room kept free on the right, under which the rows have their scroll bar.
    void setRightInset(int pixels);
};

} // namespace CvJobs
