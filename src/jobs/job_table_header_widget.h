#pragma once

#include <QStringList>
#include <QVector>
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

    // The narrowest each caption can be without cutting a word (captions wrap between words).
    QVector<int> captionMinimums();

    // Room kept free on the right, under which the rows have their scroll bar.
    void setRightInset(int pixels);
};

} // namespace CvJobs
