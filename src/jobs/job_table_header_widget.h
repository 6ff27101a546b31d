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
};

} // namespace CvJobs
