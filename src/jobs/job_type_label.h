#pragma once

#include "corvel_service_types.h"

#include <QLabel>

namespace CvJobs {

class JobTypeLabel : public QLabel {
    Q_OBJECT
public:
    explicit JobTypeLabel(CorvelService::JobType::type type, QWidget* parent = nullptr);

    void setType(CorvelService::JobType::type type);

    static QString typeText(CorvelService::JobType::type type);
};

} // namespace CvJobs
