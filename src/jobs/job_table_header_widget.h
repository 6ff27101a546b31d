#pragma once

#include <QStringList>
#include <QWidget>

#include <memory>

namespace CvJobs {

class JobColumns;

// The fixed caption row above the jobs table.
class JobTableHeaderWidget : public QWidget {
    Q_OBJECT
public:
    // Captions sit on the rows' columns when given the same instance.
    explicit JobTableHeaderWidget(std::shared_ptr<const JobColumns> columns = nullptr, QWidget* parent = nullptr);

    static QStringList captions();

    // Room kept free on the right, under which the rows have their scroll bar.
    void setRightInset(int pixels);
};

} // namespace CvJobs
