#pragma once

#include "corvel_service_types.h"

#include <QPushButton>

namespace CvJobs {

class JobActionButton : public QPushButton {
    Q_OBJECT
public:
    explicit JobActionButton(CorvelService::JobAction::type action, QWidget* parent = nullptr);

    CorvelService::JobAction::type action() const { return m_action; }

    static QString actionText(int action);

private:
    CorvelService::JobAction::type m_action;
};

} // namespace CvJobs
